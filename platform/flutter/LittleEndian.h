#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace quorvin {

// The unsigned integer as wide as T, through which T's bits reach the wire.
template <typename T>
using WireBits = std::conditional_t<
    sizeof(T) == 1, std::uint8_t,
    std::conditional_t<sizeof(T) == 2, std::uint16_t,
                       std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint64_t>>>;

template <typename T>
[[nodiscard]] std::array<std::uint8_t, sizeof(T)> toLittleEndian(T value) {
  const auto bits = std::bit_cast<WireBits<T>>(value);
  std::array<std::uint8_t, sizeof(T)> bytes{};
  for (std::size_t i = 0; i < sizeof(T); ++i) {
    bytes[i] = static_cast<std::uint8_t>(std::uint64_t{bits} >> (8 * i));
  }
  return bytes;
}

// Reads sizeof(T) bytes, which need not be aligned.
template <typename T>
[[nodiscard]] T fromLittleEndian(const std::uint8_t* bytes) {
  std::uint64_t bits = 0;
  for (std::size_t i = 0; i < sizeof(T); ++i) bits |= std::uint64_t{bytes[i]} << (8 * i);
  return std::bit_cast<T>(static_cast<WireBits<T>>(bits));
}

}  // namespace quorvin
