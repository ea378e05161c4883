import unittest

from declaration_case import DeclarationCase
from declarations.comparison import Comparison, Verdict, read_sources
from declarations.model import Declaration, Facts, Signature, Type, pointer_to, reference

STRING = reference("NSString", nullability="!")
NAME = Signature(STRING)
SET_NAME = Signature(Type("void"), (STRING,))


def facts():
    return Facts(
        superclasses={"Base": "NSObject", "Thing": "Base"},
        conformances={"Thing": ["Listener"]},
        protocols={"Listener"},
        methods={
            "-[Base name]": NAME,
            "-[Base setName:]": SET_NAME,
            "-[Thing size]": Signature(Type("f64")),
            "+[Thing thing]": Signature(reference("instancetype", nullability="!")),
            "-[Listener told:]": Signature(Type("void"), (STRING,), is_optional=True),
        },
        unavailable={"+[Thing make]"},
        functions={"Copy": Signature(reference("CFText", nullability="?"), (Type("u32"),))},
        constants={"kText": pointer_to(Type("i8"), "!")},
        enumerations={"Mode": "i64"},
        enumerators={"ModeA": 3},
        structures={"Spot": "x: f64"},
        numbers={"Encoding": "u32"},
    )


class Compare(DeclarationCase):
    def compare(self, kind, name, signature="", nullability="", notes=""):
        declaration = Declaration("Fw", kind, name, signature, nullability, notes)
        return Comparison(facts()).results([declaration])[0]

    def assert_verdicts(self, verdict, *declarations):
        for declaration in declarations:
            self.assertIs(self.compare(*declaration).verdict, verdict, declaration)

    def test_what_is_declared_alike_agrees(self):
        self.assert_verdicts(
            Verdict.AGREED,
            ("class", "Thing", "Base"),
            ("protocol", "Listener", ""),
            ("method", "-[Thing size]", "f64 ()"),
            ("method", "+[Thing thing]", "instancetype ()", "!"),
            ("method", "+[Thing thing]", "Thing ()", "!"),
            ("method", "-[Listener told:]", "void (NSString)", "!", "optional"),
            ("property", "Thing.size", "f64", "", "readonly"),
            ("function", "Copy", "CFText (u32)", "?"),
            ("constant", "kText", "i8*", "!"),
            ("enumeration", "Mode", "i64"),
            ("enumerator", "ModeA", "3"),
            ("structure", "Spot", "x: f64"),
        )

    def test_what_is_declared_otherwise_differs(self):
        self.assert_verdicts(
            Verdict.DIFFERING,
            ("class", "Thing", "NSObject"),
            ("protocol", "Listener", "NSCopying"),
            ("method", "-[Thing size]", "f32 ()"),
            ("method", "-[Listener told:]", "void (NSString)", "!"),
            ("property", "Thing.size", "f64"),
            ("property", "Thing.name", "id", "!"),
            ("function", "Copy", "CFText (i32)", "?"),
            ("constant", "kText", "u8*", "!"),
            ("enumeration", "Mode", "u64"),
            ("enumerator", "ModeA", "4"),
            ("structure", "Spot", "x: f32"),
        )

    def test_what_no_source_knows_is_not_found(self):
        for kind in (
            "class",
            "protocol",
            "function",
            "constant",
            "enumeration",
            "enumerator",
            "structure",
        ):
            self.assert_verdicts(Verdict.NOT_FOUND, (kind, "Unknown"))
        self.assert_verdicts(
            Verdict.NOT_FOUND,
            ("method", "+[Thing size]", "f64 ()"),
            ("method", "-[Unknown size]", "f64 ()"),
            ("method", "-[Thing initWithSize:]", "", "", "unavailable"),
            ("property", "Thing.weight", "f64"),
        )

    def test_both_sides_of_a_difference_are_told(self):
        result = self.compare("method", "-[Thing size]", "f32 ()")
        self.assertEqual((result.declaration.signature, result.expected), ("f32 ()", "f64 ()"))

    def test_members_are_found_on_ancestors(self):
        self.assert_verdicts(
            Verdict.AGREED,
            ("method", "-[Thing name]", "NSString ()", "!"),
            ("method", "-[Thing told:]", "void (NSString)", "!"),
            ("property", "Thing.name", "NSString", "!", "copy"),
        )

    def test_a_contradiction_about_nil_is_told_apart(self):
        self.assert_verdicts(Verdict.NULLABILITY, ("function", "Copy", "CFText (u32)", "!"))
        self.assert_verdicts(Verdict.AGREED, ("function", "Copy", "CFText (u32)", "."))

    def test_another_name_of_a_number_is_that_number(self):
        self.assert_verdicts(
            Verdict.AGREED,
            ("function", "Copy", "CFText (Encoding)", "?"),
            ("enumeration", "Encoding", "u32"),
        )

    def test_what_must_not_be_called_is_compared(self):
        self.assert_verdicts(
            Verdict.AGREED,
            ("method", "+[Thing make]", "", "", "unavailable"),
            ("method", "-[Thing init]", "", "", "unavailable"),
        )
        self.assert_verdicts(Verdict.DIFFERING, ("method", "-[Thing size]", "", "", "unavailable"))

    def test_sources_are_recognised_by_their_folders(self):
        header = "@interface FlutterA : NSObject\n@end\n"
        folder = self.folder(
            {
                "engine/darwin/macos/framework/Headers/A.h": header,
                "engine/ios/Headers/B.h": header.replace("FlutterA", "FlutterB"),
                "bindings/c.rs": "pub const kC: c_int = 5;\n",
            }
        )
        sources = read_sources(folder)
        self.assertEqual(sources.superclasses, {"FlutterA": "NSObject"})
        self.assertEqual(sources.enumerators, {"kC": 5})
        self.assertIsNone(read_sources(self.folder({"notes.txt": ""})))


if __name__ == "__main__":
    unittest.main()
