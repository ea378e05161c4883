#include "platform/linux/jpeg/JpegFile.h"

#include <cstring>
#include <utility>

namespace quorvin {

namespace {

std::vector<std::size_t> layOut(std::size_t headBytes, const std::vector<Segments>& pieces) {
  std::vector<std::size_t> bounds{headBytes};
  for (const auto& piece : pieces) {
    const std::size_t begin = bounds.back();
    for (const std::size_t end : piece.bounds.subspan(1)) {
      bounds.push_back(begin + end - piece.bounds.front());
    }
  }
  return bounds;
}

std::uint8_t* append(std::uint8_t* place, const std::uint8_t* bytes, std::size_t sizeBytes) {
  std::memcpy(place, bytes, sizeBytes);
  return place + sizeBytes;
}

constexpr std::uint8_t prefix = 0xFF;

constexpr std::size_t blockBytes = 64;

bool isMarker(const std::uint8_t* place) {
  return place[0] == prefix && place[1] != 0;
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
  std::size_t place = from;
  while (place + blockBytes < coded.size() && !hasMarker(coded.data() + place)) place += blockBytes;
  while (place + 1 < coded.size() && !isMarker(coded.data() + place)) ++place;
  return place + 1 < coded.size() ? place + markerBytes : 0;
}

}  // namespace

Segments JpegFile::segments(std::size_t first, std::size_t end) const {
  return {bytes.data(), std::span(bounds).subspan(first, end - first + 1)};
}

JpegFile assembleJpeg(std::span<const std::uint8_t> head, const std::vector<Segments>& pieces,
                      FrameBufferPool& buffers) {
  auto bounds = layOut(head.size(), pieces);
  const std::size_t size = bounds.back();
  const auto [buffer, capacity] = buffers.take(size);
  std::uint8_t* place = append(buffer.get(), head.data(), head.size());
  for (const auto& piece : pieces) {
    place = append(place, piece.origin + piece.bounds.front(), piece.sizeBytes());
  }
  const std::size_t count = bounds.size() - 1;
  for (std::size_t segment = 0; segment < count; ++segment) {
    buffer.get()[bounds[segment + 1] - 1] = markerBehind(segment, count);
  }
  return {Data(buffer, std::span<const std::uint8_t>(buffer.get(), size)), capacity,
          std::move(bounds)};
}

std::size_t findCodedData(std::span<const std::uint8_t> file) {
  constexpr std::uint8_t startOfScan = 0xDA;
  std::size_t place = markerBytes;  // SOI is nothing but a marker
  while (place + markerBytes + 2 <= file.size() && isMarker(file.data() + place)) {
    const bool isLast = file[place + 1] == startOfScan;
    place += markerBytes + std::size_t{256} * file[place + 2] + file[place + 3];
    if (isLast) return place < file.size() ? place : 0;
  }
  return 0;
}

bool findEnds(std::span<const std::uint8_t> coded, std::span<std::size_t> ends) {
  std::size_t place = 0;
  for (std::size_t segment = 0; segment < ends.size(); ++segment) {
    place = behindMarker(coded, place);
    if (place == 0 || coded[place - 1] != markerBehind(segment, ends.size())) return false;
    ends[segment] = place;
  }
  return place == coded.size();
}

}  // namespace quorvin
