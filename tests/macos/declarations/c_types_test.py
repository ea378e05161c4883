import unittest

from declaration_case import DeclarationCase
from declarations.c_types import Names, UnknownType, parse
from declarations.model import marks, spell

NAMES = Names(
    classes={"NSString", "NSError", "NSArray", "NSObject"},
    structures={"CMTime", "_NSRange"},
    enumerations={"Mode"},
    typedefs={
        "NSRange": "struct _NSRange",
        "CFStringRef": "const struct __CFString *",
        "CVBufferRef": "struct __CVBuffer *",
        "CVPixelBufferRef": "CVBufferRef",
        "CFTypeRef": "const void *",
        "VTSessionRef": "CFTypeRef",
        "OSStatus": "int",
        "Handler": "void (^)(NSError *)",
        "dispatch_queue_t": "NSObject<OS_dispatch_queue> *",
        "dispatch_time_t": "unsigned long long",
        "FrameInfo": "NSString *",
    },
    type_parameters={"ObjectType"},
)


class CTypes(DeclarationCase):
    def assert_spells(self, text, expected, nullability=None):
        type_ = parse(text, NAMES)
        self.assertEqual(spell(type_), expected)
        if nullability is not None:
            self.assertEqual(marks(type_), nullability)

    def test_numbers_are_spelled_by_their_width(self):
        for text, expected in (
            ("int", "i32"), ("unsigned long", "u64"), ("long unsigned int", "u64"),
            ("short", "i16"),
            ("const float", "f32"), ("double", "f64"), ("signed char", "i8"), ("BOOL", "bool"),
            ("Boolean", "u8"), ("NSInteger", "i64"), ("OSStatus", "i32"), ("uint8_t", "u8"),
            ("dispatch_time_t", "u64"),
        ):  # fmt: skip
            self.assert_spells(text, expected, "")

    def test_an_object_swallows_its_star(self):
        self.assert_spells("NSString *", "NSString", ".")
        self.assert_spells("NSString * _Nonnull", "NSString", "!")
        self.assert_spells("nullable NSString *", "NSString", "?")
        self.assert_spells("id _Nullable", "id", "?")
        self.assert_spells("FrameInfo _Nonnull", "NSString", "!")

    def test_a_pointer_to_an_object_keeps_the_other_star(self):
        self.assert_spells("NSError * _Nullable * _Nonnull", "NSError*", "!?")

    def test_generic_arguments_are_spelled_unless_they_say_nothing(self):
        self.assert_spells("NSArray<NSString *> * _Nonnull", "NSArray<NSString>", "!")
        self.assert_spells("NSArray<ObjectType> *", "NSArray")
        self.assert_spells("id<NSCopying>", "id<NSCopying>")
        self.assert_spells("NSObject<Messenger> *", "NSObject<Messenger>")

    def test_references_of_core_foundation_are_followed_to_the_last_name(self):
        self.assert_spells("CFStringRef _Nullable", "CFString", "?")
        self.assert_spells("CVPixelBufferRef", "CVBuffer")
        self.assert_spells("VTSessionRef", "CFType")
        self.assert_spells("dispatch_queue_t", "DispatchQueue")

    def test_structures_and_enumerations_keep_their_names(self):
        self.assert_spells("CMTime", "CMTime")
        self.assert_spells("NSRange", "NSRange")
        self.assert_spells("struct _NSRange *", "NSRange*")
        self.assert_spells("Mode", "Mode")

    def test_blocks_and_functions_show_their_types(self):
        self.assert_spells(
            "void (^ _Nullable)(NSString * _Nullable, int)", "void (^)(NSString, i32)", "??"
        )
        self.assert_spells("Handler _Nonnull", "void (^)(NSError)", "!.")
        self.assert_spells("int (*)(void *, ...)", "i32 (*)(void*, ...)")
        self.assert_spells("CMTime (long, int)", "CMTime (*)(i64, i32)")

    def test_the_name_of_a_parameter_is_passed_over(self):
        self.assert_spells("NSString* _Nullable name", "NSString", "?")
        self.assert_spells("void (^handler)(NSString* text)", "void (^)(NSString)")

    def test_an_undeclared_name_is_an_error(self):
        for text in ("Nothing", "NSArray<Nothing *> *", "void (^)(Nothing)", "NSString * *)"):
            self.assertRaises(UnknownType, parse, text, NAMES)


if __name__ == "__main__":
    unittest.main()
