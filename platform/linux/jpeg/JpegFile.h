#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "platform/Data.h"
#include "platform/linux/jpeg/FrameBufferPool.h"

namespace quorvin {

// Segments that follow each other in memory, each with the marker behind it. Segment i is what lies
// from `bounds[i]` up to `bounds[i + 1]`, counted from `origin`.
struct Segments {
  const std::uint8_t* origin = nullptr;
  std::span<const std::size_t> bounds;

  [[nodiscard]] std::size_t count() const { return bounds.size() - 1; }
  [[nodiscard]] std::size_t sizeBytes() const { return bounds.back() - bounds.front(); }
};

// A finished file, and where in it each segment begins; the last entry is where it ends.
struct JpegFile {
  Data bytes;
  std::size_t capacityBytes = 0;  // of the memory it is in
  std::vector<std::size_t> bounds;

  // From `first` up to `end` - 1.
  [[nodiscard]] Segments segments(std::size_t first, std::size_t end) const;
};

// Puts a file together out of all its segments, in their order. Restart markers depend on nothing
// but the segment's place in the file and are written as that wants them. Throws std::bad_alloc.
[[nodiscard]] JpegFile assembleJpeg(std::span<const std::uint8_t> head,
                                    const std::vector<Segments>& pieces, FrameBufferPool& buffers);

}  // namespace quorvin
