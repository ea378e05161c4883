#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace quorvin {

// ITU-T T.81, B.1.1.2: a marker is FF and a byte that is neither 00 nor FF. In coded data every FF
// has a 00 behind it, so that the markers in it are found without decoding anything.
inline constexpr std::size_t markerBytes = 2;

// The second byte of what stands behind a segment of a file that has `segments` of them: one of
// eight restart markers in turn, or EOI.
[[nodiscard]] constexpr std::uint8_t markerBehind(std::size_t segment, std::size_t segments) {
  constexpr std::uint8_t firstRestart = 0xD0;
  constexpr std::uint8_t endOfImage = 0xD9;
  if (segment + 1 == segments) return endOfImage;
  return static_cast<std::uint8_t>(firstRestart + segment % 8);
}

// Where the coded data of a file begins, behind SOS; what stands in front of it tells its length
// itself (B.1.1.4). 0 when there is no such place.
[[nodiscard]] std::size_t findCodedData(std::span<const std::uint8_t> file);

// Where the segment that begins there ends, with the marker behind it; 0 when that is not the next
// marker.
[[nodiscard]] std::size_t findEnd(std::span<const std::uint8_t> coded, std::size_t begin,
                                  std::size_t segment, std::size_t segments);

// Where so many segments end. False when what is found are not just their markers.
[[nodiscard]] bool findEnds(std::span<const std::uint8_t> coded, std::span<std::size_t> ends);

}  // namespace quorvin
