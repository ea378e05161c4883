#include "platform/flutter/Utf8.h"

#include <cstddef>
#include <cstdint>

namespace quorvin {

namespace {

// How a sequence goes on after its first byte. Only the second byte's range depends on the first:
// that is where overlong forms, surrogates and code points above U+10FFFF show.
struct Tail {
  std::size_t length;
  std::uint8_t secondMin;
  std::uint8_t secondMax;
};

constexpr Tail noTail{0, 0, 0};

Tail tailAfter(std::uint8_t first) {
  if (first < 0xC2 || first > 0xF4) return noTail;
  if (first <= 0xDF) return {1, 0x80, 0xBF};
  if (first == 0xE0) return {2, 0xA0, 0xBF};
  if (first == 0xED) return {2, 0x80, 0x9F};
  if (first <= 0xEF) return {2, 0x80, 0xBF};
  if (first == 0xF0) return {3, 0x90, 0xBF};
  if (first == 0xF4) return {3, 0x80, 0x8F};
  return {3, 0x80, 0xBF};
}

bool tailMatches(std::string_view rest, Tail tail) {
  if (tail.length == 0 || rest.size() < tail.length) return false;
  const auto second = static_cast<std::uint8_t>(rest[0]);
  if (second < tail.secondMin || second > tail.secondMax) return false;
  for (const char later : rest.substr(1, tail.length - 1)) {
    if ((static_cast<std::uint8_t>(later) & 0xC0) != 0x80) return false;
  }
  return true;
}

}  // namespace

bool isUtf8(std::string_view text) {
  std::size_t position = 0;
  while (position < text.size()) {
    const auto first = static_cast<std::uint8_t>(text[position]);
    ++position;
    if (first < 0x80) continue;
    const Tail tail = tailAfter(first);
    if (!tailMatches(text.substr(position), tail)) return false;
    position += tail.length;
  }
  return true;
}

}  // namespace quorvin
