import unittest

from declaration_case import DeclarationCase
from declarations.objc_reader import read_objc_headers

HEADER = """
#import <Foundation/Foundation.h>
NS_ASSUME_NONNULL_BEGIN
@class FlutterLater;
@protocol FlutterAhead;
typedef void (^FlutterDone)(id _Nullable result);
typedef int64_t FlutterNumber;
typedef NS_ENUM(NSInteger, FlutterMode) {
  FlutterModeA,      // first
  FlutterModeB = 7,
  FlutterModeC __attribute__((deprecated)) = FlutterModeA,
  FlutterModeD,
};
/** - (void)notAMethod:(int)really; */
FLUTTER_DARWIN_EXPORT
extern NSObject const* FlutterNothing;

FLUTTER_DARWIN_EXPORT
@protocol FlutterAhead <NSObject>
- (void)go:(FlutterNumber)distance;
@optional
- (FlutterLater* _Nullable)stop;
@end

FLUTTER_DARWIN_EXPORT
@interface FlutterThing : NSObject <FlutterAhead>
@property(nonatomic, readonly, getter=isOn) BOOL on;
@property(nonatomic, copy, nullable) NSString* name;
+ (instancetype)thingWithName:(NSString*)name
                         done:(FlutterDone _Nullable)done NS_SWIFT_NAME(init(name:done:));
- (nullable id)value:(NSObject<FlutterAhead>*)ahead, ... ;
- (instancetype)init NS_UNAVAILABLE;
@end
NS_ASSUME_NONNULL_END
"""


class ObjcReader(DeclarationCase):
    def setUp(self):
        self.facts = read_objc_headers(self.folder({"Thing.h": HEADER}))

    def assert_method(self, name, text, nullability=""):
        signature = self.facts.methods[name]
        self.assertEqual((signature.text(), signature.nullability()), (text, nullability))

    def test_classes_and_protocols_are_found_where_they_are_defined(self):
        self.assertEqual(self.facts.superclasses, {"FlutterThing": "NSObject"})
        self.assertEqual(self.facts.protocols, {"FlutterAhead"})
        self.assertEqual(self.facts.conformances["FlutterThing"], ["FlutterAhead"])

    def test_methods_have_their_types(self):
        self.assert_method(
            "+[FlutterThing thingWithName:done:]",
            "instancetype (NSString, void (^)(id))",
            "!!??",
        )
        self.assert_method("-[FlutterAhead go:]", "void (i64)")
        self.assert_method("-[FlutterAhead stop]", "FlutterLater ()", "?")

    def test_methods_of_protocols_can_be_optional(self):
        self.assertFalse(self.facts.methods["-[FlutterAhead go:]"].is_optional)
        self.assertTrue(self.facts.methods["-[FlutterAhead stop]"].is_optional)

    def test_properties_are_their_accessors(self):
        self.assert_method("-[FlutterThing isOn]", "bool ()")
        self.assertNotIn("-[FlutterThing setOn:]", self.facts.methods)
        self.assert_method("-[FlutterThing name]", "NSString ()", "?")
        self.assert_method("-[FlutterThing setName:]", "void (NSString)", "?")

    def test_what_is_unavailable_is_remembered(self):
        self.assertEqual(self.facts.unavailable, {"-[FlutterThing init]"})

    def test_comments_declare_nothing(self):
        self.assertFalse([name for name in self.facts.methods if "notAMethod" in name])

    def test_enumerators_count_on_from_the_one_before(self):
        self.assertEqual(self.facts.enumerations, {"FlutterMode": "i64"})
        self.assertEqual(
            self.facts.enumerators,
            {"FlutterModeA": 0, "FlutterModeB": 7, "FlutterModeC": 0, "FlutterModeD": 1},
        )

    def test_constants_have_their_types(self):
        constant = self.facts.constants["FlutterNothing"]
        self.assertEqual((constant.name, constant.nullability), ("NSObject", "!"))


if __name__ == "__main__":
    unittest.main()
