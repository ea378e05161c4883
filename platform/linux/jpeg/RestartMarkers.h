#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace quorvin {

// ITU-T T.81, B.1.1.2: a marker is FF and a byte that is neither 00 nor FF. In coded data every FF
// has a 00 behind it, so that the markers in it are found without decoding anything.
inline constexpr std::size_t markerBytes = 2;
inline constexpr std::uint8_t firstRestartMarker = 0xD0;  // eight of them in turn
inline constexpr std::uint8_t endOfImageMarker = 0xD9;

// The second byte of what stands behind an MCU row of a file that has `mcuRows` of them.
[[nodiscard]] constexpr std::uint8_t markerBehind(std::size_t mcuRow, std::size_t mcuRows) {
  if (mcuRow + 1 == mcuRows) return endOfImageMarker;
  return static_cast<std::uint8_t>(firstRestartMarker + mcuRow % 8);
}

// Where each of the MCU rows begins, and as the last entry where the last one ends, each with the
// marker behind it. What follows the last marker is left out.
void findMcuRows(std::span<const std::uint8_t> coded, std::vector<std::size_t>& bounds);

}  // namespace quorvin
