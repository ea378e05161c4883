#pragma once

#include <cstddef>
#include <cstdint>

namespace quorvin {

// The type byte in front of every value of a message.
enum class MessageTag : std::uint8_t {
  null = 0,
  boolTrue = 1,
  boolFalse = 2,
  int32 = 3,
  int64 = 4,
  bigInteger = 5,  // as hexadecimal text; read, never written
  float64 = 6,
  text = 7,
  uint8List = 8,
  int32List = 9,
  int64List = 10,
  float64List = 11,
  list = 12,
  map = 13,
  float32List = 14,
};

// The first byte of a reply or event: what follows it.
inline constexpr std::uint8_t successMark = 0;
inline constexpr std::uint8_t errorMark = 1;

// A size is one byte below the first mark; a mark says that 16 or 32 bits follow.
inline constexpr std::uint8_t size16Mark = 254;
inline constexpr std::uint8_t size32Mark = 255;

// Zero bytes in front of a number at `offset`, which counts from the start of the message.
[[nodiscard]] constexpr std::size_t paddingAt(std::size_t offset, std::size_t alignment) {
  return (alignment - offset % alignment) % alignment;
}

}  // namespace quorvin
