#import "platform/macos/Text.h"

#import <Foundation/Foundation.h>

#include <algorithm>

#import "platform/macos/Bridging.h"

#include "platform/flutter/Utf8.h"

namespace quorvin {
namespace {

bool isInsideLineEnd(NSString* text, NSUInteger position) {
  return position > 0 && position < text.length && [text characterAtIndex:position - 1] == '\r' &&
         [text characterAtIndex:position] == '\n';
}

// Where the first `count` characters end, in UTF-16 code units.
NSUInteger endOfCharacters(NSString* text, std::size_t count) {
  __block NSUInteger end = 0;
  __block std::size_t left = count;
  [text enumerateSubstringsInRange:NSMakeRange(0, text.length)
                           options:NSStringEnumerationByComposedCharacterSequences |
                                   NSStringEnumerationSubstringNotRequired
                        usingBlock:^(NSString* /*substring*/, NSRange range, NSRange /*enclosing*/,
                                     BOOL* stop) {
                          end = NSMaxRange(range);
                          if (!isInsideLineEnd(text, end)) --left;
                          *stop = left == 0;
                        }];
  return end;
}

// Bytes that became the first `units` UTF-16 code units: an ill-formed byte became one, a character
// of four bytes two, any other one.
std::size_t bytesOfUnits(std::string_view utf8, NSUInteger units) {
  std::size_t bytes = 0;
  for (NSUInteger seen = 0; seen < units;) {
    const auto length = utf8CharacterLength(utf8.substr(bytes));
    bytes += std::max<std::size_t>(length, 1);
    seen += length == 4 ? 2 : 1;
  }
  return bytes;
}

}  // namespace

std::string MacText::prefix(std::string_view utf8, std::size_t count) {
  // A character takes at least one byte.
  if (utf8.size() <= count) return std::string(utf8);
  if (count == 0) return {};
  @autoreleasepool {
    NSString* text = toNSString(utf8);
    return std::string(utf8.substr(0, bytesOfUnits(utf8, endOfCharacters(text, count))));
  }
}

}  // namespace quorvin
