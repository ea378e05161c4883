#import "platform/macos/Bridging.h"

#import <CoreFoundation/CoreFoundation.h>

#include <cstdint>
#include <memory>

namespace quorvin {
namespace {

struct CharacterForm {
  std::size_t length;
  unsigned char secondMin;
  unsigned char secondMax;
};

// What must follow a first byte, by table 3-7 of the Unicode Standard; length 0 for a byte that
// begins no character.
CharacterForm formOf(unsigned char first) {
  if (first < 0x80) return {1, 0, 0};
  if (first < 0xC2 || first > 0xF4) return {0, 0, 0};
  if (first < 0xE0) return {2, 0x80, 0xBF};
  if (first == 0xE0) return {3, 0xA0, 0xBF};
  if (first == 0xED) return {3, 0x80, 0x9F};
  if (first < 0xF0) return {3, 0x80, 0xBF};
  if (first == 0xF0) return {4, 0x90, 0xBF};
  if (first == 0xF4) return {4, 0x80, 0x8F};
  return {4, 0x80, 0xBF};
}

std::string repaired(std::string_view utf8) {
  std::string text;
  while (!utf8.empty()) {
    const auto length = utf8CharacterLength(utf8);
    text += length == 0 ? "\uFFFD" : utf8.substr(0, length);
    utf8.remove_prefix(length == 0 ? 1 : length);
  }
  return text;
}

NSString* _Nullable decoded(std::string_view utf8) {
  return [[NSString alloc] initWithBytes:utf8.data()
                                  length:utf8.size()
                                encoding:NSUTF8StringEncoding];
}

}  // namespace

std::size_t utf8CharacterLength(std::string_view text) {
  if (text.empty()) return 0;
  const auto form = formOf(static_cast<unsigned char>(text[0]));
  if (form.length > text.size()) return 0;
  for (std::size_t index = 1; index < form.length; ++index) {
    const auto byte = static_cast<unsigned char>(text[index]);
    const bool isSecond = index == 1;
    if (byte < (isSecond ? form.secondMin : 0x80) || byte > (isSecond ? form.secondMax : 0xBF)) {
      return 0;
    }
  }
  return form.length;
}

NSString* toNSString(std::string_view utf8) {
  // An empty view may have no address, which Foundation does not take.
  if (utf8.empty()) return @"";
  if (NSString* text = decoded(utf8)) return text;
  return decoded(repaired(utf8));
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
