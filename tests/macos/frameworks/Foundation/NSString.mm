#import "tests/macos/frameworks/Foundation/Support.h"

#include <cstring>

#include "tests/macos/frameworks/Foundation/Unicode.h"
#include "tests/macos/standin/CallLog.h"

// Every text that is not a constant of the compiler.
@interface StandInString : NSString {
 @public
  std::u16string units;
}
@end

// A text in the program: the layout is the compiler's.
@interface __NSCFConstantString : NSString {
  int flags;
  const void* characters;
  long characterCount;
}
- (std::u16string)units;
@end

asm(R"(
.globl __CFConstantStringClassReference
.set __CFConstantStringClassReference, OBJC_CLASS_$___NSCFConstantString
)");

namespace standin {

std::u16string unitsOf(NSString* text) {
  if (text == nil) return {};
  if ([text isKindOfClass:[StandInString class]]) return static_cast<StandInString*>(text)->units;
  return [static_cast<__NSCFConstantString*>(text) units];
}

std::string utf8Of(NSString* text) { return repairedUtf8(unitsOf(text)); }

NSString* stringOf(std::u16string units) {
  StandInString* text = [[StandInString alloc] init];
  text->units = std::move(units);
  return autoreleased(text);
}

NSString* stringOf(std::string_view utf8) { return stringOf(utf16FromUtf8(utf8).value()); }

namespace {

void requireUtf8(NSStringEncoding encoding) {
  if (encoding != NSUTF8StringEncoding) violation("texts are encoded in UTF-8 only");
}

void requireIndex(NSString* text, NSUInteger index, const char* operation) {
  if (index > text.length) {
    raiseRange(std::string("-[NSString ") + operation + "]: index " + std::to_string(index) +
               " out of bounds; string length " + std::to_string(text.length));
  }
}

}  // namespace
}  // namespace standin

@implementation NSString

+ (instancetype)alloc {
  // NSString itself has no storage.
  if (self == [NSString class]) return [StandInString alloc];
  return [super alloc];
}

- (NSUInteger)length {
  return standin::unitsOf(self).size();
}

- (unichar)characterAtIndex:(NSUInteger)index {
  const auto units = standin::unitsOf(self);
  if (index >= units.size()) standin::requireIndex(self, NSUIntegerMax, "characterAtIndex:");
  return units[index];
}

- (id)copyWithZone:(NSZone*)zone {
  return [self retain];
}

- (BOOL)isEqual:(id)object {
  return [object isKindOfClass:[NSString class]] && [self isEqualToString:object];
}

- (Class)standInTypeClass {
  return [NSString class];
}

@end

@implementation NSString (NSStringExtensionMethods)

+ (instancetype)stringWithCharacters:(const unichar*)characters length:(NSUInteger)length {
  return standin::stringOf(std::u16string(characters, characters + length));
}

+ (instancetype)stringWithUTF8String:(const char*)text {
  const auto units = standin::utf16FromUtf8(text);
  return units ? standin::stringOf(*units) : nil;
}

- (instancetype)initWithBytes:(const void*)bytes
                       length:(NSUInteger)len
                     encoding:(NSStringEncoding)encoding {
  standin::requireUtf8(encoding);
  const auto units = standin::utf16FromUtf8({static_cast<const char*>(bytes), len});
  if (!units) {
    [self release];
    return nil;
  }
  self = [self init];
  static_cast<StandInString*>(self)->units = *units;
  return self;
}

- (const char*)UTF8String {
  const auto utf8 = standin::utf8FromUtf16(standin::unitsOf(self));
  if (!utf8) return nullptr;
  // Lives as long as an autoreleased object.
  return static_cast<const char*>(
      [NSData dataWithBytes:utf8->c_str() length:utf8->size() + 1].bytes);
}

- (NSData*)dataUsingEncoding:(NSStringEncoding)encoding allowLossyConversion:(BOOL)lossy {
  standin::requireUtf8(encoding);
  const auto units = standin::unitsOf(self);
  const auto bytes = lossy ? standin::repairedUtf8(units) : standin::utf8FromUtf16(units);
  return bytes ? [NSData dataWithBytes:bytes->data() length:bytes->size()] : nil;
}

- (NSData*)dataUsingEncoding:(NSStringEncoding)encoding {
  return [self dataUsingEncoding:encoding allowLossyConversion:NO];
}

- (NSString*)decomposedStringWithCanonicalMapping {
  return standin::stringOf(standin::decomposed(standin::unitsOf(self)));
}

- (BOOL)isEqualToString:(NSString*)aString {
  return aString != nil && standin::unitsOf(self) == standin::unitsOf(aString);
}

- (void)enumerateSubstringsInRange:(NSRange)range
                           options:(NSStringEnumerationOptions)opts
                        usingBlock:(void(NS_NOESCAPE ^)(NSString*, NSRange, NSRange, BOOL*))block {
  if (opts !=
      (NSStringEnumerationByComposedCharacterSequences | NSStringEnumerationSubstringNotRequired)) {
    standin::violation("texts are enumerated by the ranges of composed character sequences only");
  }
  standin::requireIndex(self, NSMaxRange(range), "enumerateSubstringsInRange:");
  const auto units = standin::unitsOf(self);
  BOOL stop = NO;
  for (auto index = range.location; index < NSMaxRange(range) && !stop;) {
    const auto around = standin::characterAround(units, index);
    const auto each = NSMakeRange(around.begin, around.end - around.begin);
    block(nil, each, each, &stop);
    index = around.end;
  }
}

@end

@implementation StandInString
@end

@implementation __NSCFConstantString

- (std::u16string)units {
  // By the flags, units of 16 bits for a text that is not ASCII.
  constexpr int wideFlag = 0x10;
  const auto count = static_cast<std::size_t>(characterCount);
  if ((flags & wideFlag) != 0) {
    const auto* wide = static_cast<const char16_t*>(characters);
    return {wide, wide + count};
  }
  const auto* ascii = static_cast<const char*>(characters);
  return {ascii, ascii + count};
}

@end
