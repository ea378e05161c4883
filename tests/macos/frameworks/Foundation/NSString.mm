#import "tests/macos/frameworks/Foundation/Support.h"

#include <cmath>
#include <cstdlib>
#include <cstring>

#include "tests/macos/frameworks/Foundation/StringEncoding.h"
#include "tests/macos/frameworks/Foundation/Unicode.h"
#include "tests/macos/standin/CallLog.h"

// Every text that is not a constant of the compiler.
@interface StandInString : NSString {
 @public
  std::u16string units;
}
@end

@interface NSMutableString () {
 @public
  std::u16string mutableUnits;
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
  if ([text isKindOfClass:[NSMutableString class]]) {
    return static_cast<NSMutableString*>(text)->mutableUnits;
  }
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

// What an initializer returns: a new text of the receiver's kind, or nil.
id initialized(id receiver, std::optional<std::u16string> units) {
  if (!units) {
    [receiver release];
    return nil;
  }
  if ([receiver isKindOfClass:[NSMutableString class]]) {
    static_cast<NSMutableString*>(receiver)->mutableUnits = std::move(*units);
  } else {
    static_cast<StandInString*>(receiver)->units = std::move(*units);
  }
  return receiver;
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

- (instancetype)init {
  return [super init];
}

- (NSUInteger)length {
  return standin::unitsOf(self).size();
}

- (unichar)characterAtIndex:(NSUInteger)index {
  const auto units = standin::unitsOf(self);
  if (index >= units.size()) standin::requireIndex(self, NSNotFound, "characterAtIndex:");
  return units[index];
}

- (id)copyWithZone:(NSZone*)zone {
  return [self retain];
}

- (id)mutableCopyWithZone:(NSZone*)zone {
  return [[NSMutableString alloc] initWithString:self];
}

- (NSUInteger)hash {
  return std::hash<std::u16string>()(standin::unitsOf(self));
}

- (BOOL)isEqual:(id)object {
  return [object isKindOfClass:[NSString class]] && [self isEqualToString:object];
}

- (NSString*)description {
  return self;
}

- (Class)standInTypeClass {
  return [NSString class];
}

@end

@implementation NSString (NSStringExtensionMethods)

+ (instancetype)string {
  return autoreleased([[self alloc] init]);
}

+ (instancetype)stringWithString:(NSString*)string {
  return autoreleased([[self alloc] initWithString:string]);
}

+ (instancetype)stringWithCharacters:(const unichar*)characters length:(NSUInteger)length {
  return autoreleased([[self alloc] initWithCharacters:characters length:length]);
}

+ (instancetype)stringWithUTF8String:(const char*)text {
  return autoreleased([[self alloc] initWithUTF8String:text]);
}

+ (instancetype)stringWithFormat:(NSString*)format, ... {
  va_list arguments;
  va_start(arguments, format);
  NSString* text = [[self alloc] initWithFormat:format arguments:arguments];
  va_end(arguments);
  return autoreleased(text);
}

- (instancetype)initWithString:(NSString*)aString {
  return standin::initialized([self init], standin::unitsOf(aString));
}

- (instancetype)initWithCharacters:(const unichar*)characters length:(NSUInteger)length {
  return standin::initialized([self init], std::u16string(characters, characters + length));
}

- (instancetype)initWithUTF8String:(const char*)text {
  if (text == nullptr)
    standin::raiseInvalidArgument("-[NSString initWithUTF8String:]: NULL cString");
  return standin::initialized([self init], standin::utf16FromUtf8(text));
}

- (instancetype)initWithFormat:(NSString*)format, ... {
  va_list arguments;
  va_start(arguments, format);
  self = [self initWithFormat:format arguments:arguments];
  va_end(arguments);
  return self;
}

- (instancetype)initWithFormat:(NSString*)format arguments:(va_list)argList {
  return standin::initialized([self init], standin::formatted(format, argList));
}

- (instancetype)initWithData:(NSData*)data encoding:(NSStringEncoding)encoding {
  return standin::initialized([self init], standin::decoded(data.bytes, data.length, encoding));
}

- (instancetype)initWithBytes:(const void*)bytes
                       length:(NSUInteger)len
                     encoding:(NSStringEncoding)encoding {
  if (bytes == nullptr && len > 0)
    standin::raiseInvalidArgument("-[NSString initWithBytes:]: NULL");
  return standin::initialized([self init], standin::decoded(bytes, len, encoding));
}

- (const char*)UTF8String {
  const auto utf8 = standin::utf8FromUtf16(standin::unitsOf(self));
  if (!utf8) return nullptr;
  // Lives as long as an autoreleased object.
  return static_cast<const char*>(
      [NSData dataWithBytes:utf8->c_str() length:utf8->size() + 1].bytes);
}

- (void)getCharacters:(unichar*)buffer range:(NSRange)range {
  standin::requireIndex(self, NSMaxRange(range), "getCharacters:range:");
  const auto units = standin::unitsOf(self);
  std::memcpy(buffer, units.data() + range.location, range.length * sizeof(unichar));
}

- (NSUInteger)lengthOfBytesUsingEncoding:(NSStringEncoding)enc {
  const auto bytes = standin::encoded(standin::unitsOf(self), enc, false);
  return bytes ? bytes->size() : 0;
}

- (NSData*)dataUsingEncoding:(NSStringEncoding)encoding allowLossyConversion:(BOOL)lossy {
  const auto bytes = standin::encoded(standin::unitsOf(self), encoding, lossy);
  return bytes ? [NSData dataWithBytes:bytes->data() length:bytes->size()] : nil;
}

- (NSData*)dataUsingEncoding:(NSStringEncoding)encoding {
  return [self dataUsingEncoding:encoding allowLossyConversion:NO];
}

- (NSString*)substringFromIndex:(NSUInteger)from {
  standin::requireIndex(self, from, "substringFromIndex:");
  return standin::stringOf(standin::unitsOf(self).substr(from));
}

- (NSString*)substringToIndex:(NSUInteger)to {
  standin::requireIndex(self, to, "substringToIndex:");
  return standin::stringOf(standin::unitsOf(self).substr(0, to));
}

- (NSString*)substringWithRange:(NSRange)range {
  standin::requireIndex(self, range.location, "substringWithRange:");
  standin::requireIndex(self, NSMaxRange(range), "substringWithRange:");
  return standin::stringOf(standin::unitsOf(self).substr(range.location, range.length));
}

- (NSString*)stringByAppendingString:(NSString*)aString {
  if (aString == nil)
    standin::raiseInvalidArgument("-[NSString stringByAppendingString:]: nil argument");
  return standin::stringOf(standin::unitsOf(self) + standin::unitsOf(aString));
}

- (NSString*)stringByAppendingFormat:(NSString*)format, ... {
  va_list arguments;
  va_start(arguments, format);
  const auto added = standin::formatted(format, arguments);
  va_end(arguments);
  return standin::stringOf(standin::unitsOf(self) + added);
}

- (NSComparisonResult)compare:(NSString*)string {
  const auto order = standin::unitsOf(self).compare(standin::unitsOf(string));
  if (order == 0) return NSOrderedSame;
  return order < 0 ? NSOrderedAscending : NSOrderedDescending;
}

- (BOOL)isEqualToString:(NSString*)aString {
  return aString != nil && standin::unitsOf(self) == standin::unitsOf(aString);
}

- (BOOL)hasPrefix:(NSString*)str {
  return standin::unitsOf(self).starts_with(standin::unitsOf(str));
}

- (BOOL)hasSuffix:(NSString*)str {
  return standin::unitsOf(self).ends_with(standin::unitsOf(str));
}

- (BOOL)containsString:(NSString*)str {
  return [self rangeOfString:str].location != static_cast<NSUInteger>(NSNotFound);
}

- (NSRange)rangeOfString:(NSString*)searchString {
  const auto sought = standin::unitsOf(searchString);
  const auto found = standin::unitsOf(self).find(sought);
  // An empty text is found nowhere.
  if (sought.empty() || found == sought.npos) return NSMakeRange(NSNotFound, 0);
  return NSMakeRange(found, sought.size());
}

- (NSRange)rangeOfComposedCharacterSequenceAtIndex:(NSUInteger)index {
  standin::requireIndex(self, index + 1, "rangeOfComposedCharacterSequenceAtIndex:");
  const auto range = standin::characterAround(standin::unitsOf(self), index);
  return NSMakeRange(range.begin, range.end - range.begin);
}

- (NSRange)rangeOfComposedCharacterSequencesForRange:(NSRange)range {
  if (range.length == 0) {
    if (range.location == self.length) return range;
    return [self rangeOfComposedCharacterSequenceAtIndex:range.location];
  }
  const auto first = [self rangeOfComposedCharacterSequenceAtIndex:range.location];
  const auto last = [self rangeOfComposedCharacterSequenceAtIndex:NSMaxRange(range) - 1];
  return NSMakeRange(first.location, NSMaxRange(last) - first.location);
}

- (void)enumerateSubstringsInRange:(NSRange)range
                           options:(NSStringEnumerationOptions)opts
                        usingBlock:(void(NS_NOESCAPE ^)(NSString*, NSRange, NSRange, BOOL*))block {
  const bool wantsText = (opts & NSStringEnumerationSubstringNotRequired) == 0;
  if ((opts & ~NSStringEnumerationSubstringNotRequired) !=
      NSStringEnumerationByComposedCharacterSequences) {
    standin::violation("texts are enumerated by composed character sequences only");
  }
  standin::requireIndex(self, NSMaxRange(range), "enumerateSubstringsInRange:");
  BOOL stop = NO;
  for (auto index = range.location; index < NSMaxRange(range) && !stop;) {
    const auto each = [self rangeOfComposedCharacterSequenceAtIndex:index];
    block(wantsText ? [self substringWithRange:each] : nil, each, each, &stop);
    index = NSMaxRange(each);
  }
}

- (double)doubleValue {
  const auto value = std::strtod(standin::utf8Of(self).c_str(), nullptr);
  return value;
}

- (int)intValue {
  const auto value = [self longLongValue];
  return static_cast<int>(std::min<long long>(std::max<long long>(value, INT32_MIN), INT32_MAX));
}

- (NSInteger)integerValue {
  return [self longLongValue];
}

- (long long)longLongValue {
  return std::strtoll(standin::utf8Of(self).c_str(), nullptr, 10);
}

// Leading blanks, then Y, y, T, t, or a sign and zeros before another digit.
- (BOOL)boolValue {
  const auto text = standin::utf8Of(self);
  auto index = text.find_first_not_of(" \t\n\r");
  if (index == text.npos) return NO;
  if (std::strchr("YyTt", text[index]) != nullptr) return YES;
  if (text[index] == '+' || text[index] == '-') ++index;
  index = text.find_first_not_of('0', index);
  return index != text.npos && text[index] >= '1' && text[index] <= '9';
}

@end

@implementation StandInString
@end

@implementation __NSCFConstantString

- (std::u16string)units {
  // By the flags, units of 16 bits for a text that is not ASCII.
  constexpr int wideFlag = 0x10;
  const auto count = static_cast<std::size_t>(characterCount);
  if ((flags & wideFlag) != 0) return standin::unitsFromBytes(characters, count * sizeof(char16_t));
  const auto* ascii = static_cast<const char*>(characters);
  return {ascii, ascii + count};
}

@end

@implementation NSMutableString

- (id)copyWithZone:(NSZone*)zone {
  return [standin::stringOf(mutableUnits) retain];
}

@end

@implementation NSMutableString (NSMutableStringExtensionMethods)

- (void)appendString:(NSString*)aString {
  mutableUnits += standin::unitsOf(aString);
}

- (void)appendFormat:(NSString*)format, ... {
  va_list arguments;
  va_start(arguments, format);
  mutableUnits += standin::formatted(format, arguments);
  va_end(arguments);
}

@end
