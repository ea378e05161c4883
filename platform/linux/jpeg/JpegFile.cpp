#include "platform/linux/jpeg/JpegFile.h"

#include <cstring>
#include <utility>

#include "platform/linux/jpeg/RestartMarkers.h"

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

}  // namespace quorvin
