#include "platform/flutter/Utf8.h"

#include <cstdint>

namespace quorvin {

namespace {

// What must follow a first byte, by table 3-7 of the Unicode Standard; length 0 for a byte that
// begins no character. Only the second byte's range depends on the first: that is where overlong
// forms, surrogates and code points above U+10FFFF show.
struct CharacterForm {
  std::size_t length;
  std::uint8_t secondMin;
  std::uint8_t secondMax;
};

CharacterForm formOf(std::uint8_t first) {
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

}  // namespace

std::size_t utf8CharacterLength(std::string_view text) {
  if (text.empty()) return 0;
  const auto form = formOf(static_cast<std::uint8_t>(text[0]));
  if (form.length > text.size()) return 0;
  for (std::size_t index = 1; index < form.length; ++index) {
    const auto byte = static_cast<std::uint8_t>(text[index]);
    const bool isSecond = index == 1;
    if (byte < (isSecond ? form.secondMin : 0x80) || byte > (isSecond ? form.secondMax : 0xBF)) {
      return 0;
    }
  }
  return form.length;
}

bool isUtf8(std::string_view text) {
  while (!text.empty()) {
    const auto length = utf8CharacterLength(text);
    if (length == 0) return false;
    text.remove_prefix(length);
  }
  return true;
}

}  // namespace quorvin
