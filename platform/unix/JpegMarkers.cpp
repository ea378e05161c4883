#include "platform/unix/JpegMarkers.h"

namespace quorvin {

namespace {

constexpr std::uint8_t prefix = 0xFF;

constexpr std::size_t blockBytes = 64;

bool isMarker(const std::uint8_t* position) {
  return position[0] == prefix && position[1] != 0;
}

// Without a way out of the loop the compiler looks at many bytes at once; every hundredth byte is
// an FF, and hardly any is that of a marker.
bool hasMarker(const std::uint8_t* block) {
  unsigned found = 0;
  for (std::size_t i = 0; i < blockBytes; ++i) {
    found |= static_cast<unsigned>(block[i] == prefix) & static_cast<unsigned>(block[i + 1] != 0);
  }
  return found != 0;
}

// Behind the next marker; 0 when there is none.
std::size_t behindMarker(std::span<const std::uint8_t> coded, std::size_t from) {
  std::size_t position = from;
  while (position + blockBytes < coded.size() && !hasMarker(coded.data() + position))
    position += blockBytes;
  while (position + 1 < coded.size() && !isMarker(coded.data() + position)) ++position;
  return position + 1 < coded.size() ? position + markerBytes : 0;
}

}  // namespace

std::size_t findCodedData(std::span<const std::uint8_t> file) {
  constexpr std::uint8_t startOfScan = 0xDA;
  std::size_t position = markerBytes;  // SOI is nothing but a marker
  while (position + markerBytes + 2 <= file.size() && isMarker(file.data() + position)) {
    const bool isLast = file[position + 1] == startOfScan;
    position += markerBytes + std::size_t{256} * file[position + 2] + file[position + 3];
    if (isLast) return position < file.size() ? position : 0;
  }
  return 0;
}

std::size_t findEnd(std::span<const std::uint8_t> coded, std::size_t begin, std::size_t segment,
                    std::size_t segments) {
  const auto end = behindMarker(coded, begin);
  return end != 0 && coded[end - 1] == markerBehind(segment, segments) ? end : 0;
}

bool findEnds(std::span<const std::uint8_t> coded, std::span<std::size_t> ends) {
  std::size_t position = 0;
  for (std::size_t segment = 0; segment < ends.size(); ++segment) {
    position = findEnd(coded, position, segment, ends.size());
    if (position == 0) return false;
    ends[segment] = position;
  }
  return position == coded.size();
}

}  // namespace quorvin
