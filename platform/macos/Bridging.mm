#import "platform/macos/Bridging.h"

#import <CoreFoundation/CoreFoundation.h>

#include <memory>
#include <vector>

#include "platform/flutter/Utf8.h"

namespace quorvin {
namespace {

char32_t codePointOf(std::string_view character) {
  const auto byteAt = [character](std::size_t index) {
    return static_cast<unsigned char>(character[index]);
  };
  if (character.size() == 1) return byteAt(0);
  char32_t point = byteAt(0) & (0xFFU >> (character.size() + 1));
  for (std::size_t index = 1; index < character.size(); ++index) {
    point = (point << 6U) | (byteAt(index) & 0x3FU);
  }
  return point;
}

void appendUtf16(std::vector<unichar>& units, char32_t point) {
  if (point < 0x10000) {
    units.push_back(static_cast<unichar>(point));
    return;
  }
  units.push_back(static_cast<unichar>(0xD7C0 + (point >> 10U)));
  units.push_back(static_cast<unichar>(0xDC00 + (point & 0x3FFU)));
}

}  // namespace

// Decoded here, since Foundation gives nothing for a text with an ill-formed byte and leaves out a
// byte order mark.
NSString* toNSString(std::string_view utf8) {
  if (utf8.empty()) return @"";
  std::vector<unichar> units;
  units.reserve(utf8.size());
  while (!utf8.empty()) {
    const auto length = utf8CharacterLength(utf8);
    appendUtf16(units, length == 0 ? 0xFFFD : codePointOf(utf8.substr(0, length)));
    utf8.remove_prefix(length == 0 ? 1 : length);
  }
  return [NSString stringWithCharacters:units.data() length:units.size()];
}

std::string toString(NSString* text) {
  // Not UTF8String, which ends at a NUL character.
  NSData* bytes = [text dataUsingEncoding:NSUTF8StringEncoding allowLossyConversion:YES];
  if (bytes.length == 0) return {};
  return {static_cast<const char*>(bytes.bytes), bytes.length};
}

Error toError(NSError* error) {
  return {toString(error.domain), error.code, toString(error.localizedDescription)};
}

Data toData(NSData* bytes) {
  // A copy of an immutable object is the object itself.
  NSData* kept = [bytes copy];
  if (kept.length == 0) return {};
  const std::shared_ptr<const void> owner(CFBridgingRetain(kept), CFRelease);
  return {owner, {static_cast<const std::uint8_t*>(kept.bytes), kept.length}};
}

}  // namespace quorvin
