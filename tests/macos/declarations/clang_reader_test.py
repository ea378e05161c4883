import unittest

from declaration_case import DeclarationCase
from declarations.clang_reader import CannotRead, read_headers

HEADER = """
#pragma once
#include <Fw/Part.h>
#pragma clang assume_nonnull begin
@class Later;
@protocol Announced;
@protocol Listener <NSObject>
- (void)told:(Later*)later;
@optional
@property(readonly, getter=isOpen) signed char open;
+ (nullable instancetype)listener;
@end
@interface Thing<ObjectType> : NSObject <Listener>
@property(class, copy, nullable) Later* later;
- (instancetype)init __attribute__((unavailable));
- (ObjectType)at:(unsigned long)index with:(void (^_Nullable)(ObjectType, int))block;
@end
@interface Thing (More)
- (void)log:(const char*)format, ...;
@end
typedef enum Mode : long Mode;
enum Mode : long { ModeA = -3, ModeB };
typedef unsigned int Flags;
enum : Flags { FlagsAll = 0xFFFFFFFF };
typedef struct { int count; double size; } Spot;
extern "C" {
typedef const struct __CFText* CFTextRef;
extern const CFTextRef kText;
CFTextRef _Nullable TextCopy(CFTextRef, Mode, Flags, Spot* _Nullable, ...);
}
namespace standin { void reset(); }
#pragma clang assume_nonnull end
"""
PART = """
#pragma once
@protocol NSObject
@end
__attribute__((objc_root_class)) @interface NSObject <NSObject>
@end
"""
EXPECTED = """
class NSObject   NSObject
class Thing NSObject  Listener
constant kText CFText !
enumeration Flags u32
enumeration Mode i64
enumerator FlagsAll 4294967295  Flags
enumerator ModeA -3  Mode
enumerator ModeB -2  Mode
function TextCopy CFText_(CFText,_Mode,_Flags,_Spot*,_...) ?!?
method +[Listener_listener] instancetype_() ? optional
method -[Listener_told:] void_(Later) !
method -[Thing_at:with:] id_(u64,_void_(^)(id,_i32)) !?!
method -[Thing_init]   unavailable
method -[Thing_log:] void_(i8*,_...) !
property Listener.open i8  optional_readonly_getter=isOpen
property Thing.later Later ? class_copy
protocol Listener NSObject
protocol NSObject
structure Spot count:_i32,_size:_f64
"""


class ClangReader(DeclarationCase):
    def read(self, files):
        return read_headers(self.folder(files))

    def test_everything_public_is_listed(self):
        control = "#pragma once\n#include <Fw/Fw.h>\nvoid control();\n"
        files = {"Fw/Fw.h": HEADER, "Fw/Part.h": PART, "Fw/FwControl.h": control}
        declared = [
            " ".join(part.replace(" ", "_") for part in line).strip() for line in self.read(files)
        ]
        expected = [f"Fw {line}".strip() for line in EXPECTED.strip().splitlines()]
        self.assertEqual(declared, expected)

    def test_a_header_that_does_not_compile_is_an_error(self):
        self.assertRaisesRegex(CannotRead, "do not compile", self.read, {"A/A.h": "int broken(;\n"})

    def test_a_folder_without_headers_declares_nothing(self):
        self.assertEqual(self.read({"A/notes.txt": ""}), [])


if __name__ == "__main__":
    unittest.main()
