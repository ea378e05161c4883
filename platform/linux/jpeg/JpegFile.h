#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "platform/Data.h"
#include "platform/linux/frame/CapturedFrame.h"
#include "platform/linux/jpeg/FrameBufferPool.h"
#include "platform/linux/jpeg/SegmentPlan.h"
#include "platform/unix/JpegMarkers.h"

namespace quorvin {

// Segments that follow each other in memory, each with the marker behind it. Segment i is what lies
// from `offsets[i]` up to `offsets[i + 1]`, counted from `origin`.
struct Segments {
  const std::uint8_t* origin = nullptr;
  std::span<const std::size_t> offsets;

  [[nodiscard]] std::size_t count() const { return offsets.size() - 1; }
  [[nodiscard]] std::size_t sizeBytes() const { return offsets.back() - offsets.front(); }
};

// A rectangle of segments, coded in one go: libjpeg needs as long to begin as it does for a tenth
// of a row of a large screen. Reused from frame to frame. One thread at a time.
class CodedRect {
 public:
  // False when memory is exhausted.
  [[nodiscard]] bool code(const CapturedFrame& frame, const JpegParams& params,
                          const SegmentRect& rect);

  // Of the last `code` that came true, and up to the next.
  [[nodiscard]] const SegmentRect& position() const { return coded; }
  // The segments of one of its MCU rows, counted from 0.
  [[nodiscard]] Segments row(int number) const;

  [[nodiscard]] std::size_t capacityBytes() const { return bytes.capacityBytes(); }
  void releaseSpare() { static_cast<void>(bytes.setCapacity(bytes.written().size())); }

 private:
  [[nodiscard]] bool findOffsets();

  SegmentRect coded;
  ByteBuffer bytes;                  // a file of its own
  std::vector<std::size_t> offsets;  // as in Segments
};

// A finished file, and where in it each segment begins; the last entry is where it ends.
struct JpegFile {
  Data bytes;
  std::size_t capacityBytes = 0;  // of the memory it is in
  std::vector<std::size_t> offsets;

  // From `first` up to `end` - 1.
  [[nodiscard]] Segments segments(std::size_t first, std::size_t end) const;
};

// Puts a file together out of all its segments, in their order. Restart markers depend on nothing
// but the segment's place in the file and are written as that wants them. Throws std::bad_alloc.
[[nodiscard]] JpegFile assembleJpeg(std::span<const std::uint8_t> header,
                                    const std::vector<Segments>& pieces, FrameBufferPool& buffers);

}  // namespace quorvin
