#pragma once

#include <cstddef>
#include <vector>

#include "platform/linux/frame/CapturedPixelBuffer.h"
#include "platform/linux/jpeg/FrameBufferPool.h"
#include "platform/linux/jpeg/JpegFile.h"
#include "platform/linux/jpeg/SegmentPlan.h"

namespace quorvin {

// A rectangle of segments, coded in one go: libjpeg needs as long to begin as it does for a tenth
// of a row of a large screen. Reused from picture to picture. One thread at a time.
class CodedRect {
 public:
  // False when memory is exhausted.
  [[nodiscard]] bool code(const CapturedPixelBuffer& picture, const JpegForm& form,
                          const SegmentRect& rect);

  // Of the last `code` that came true, and up to the next.
  [[nodiscard]] const SegmentRect& place() const { return coded; }
  // The segments of one of its MCU rows, counted from 0.
  [[nodiscard]] Segments row(int number) const;

  [[nodiscard]] std::size_t capacityBytes() const { return bytes.capacityBytes(); }
  void releaseSpare() { static_cast<void>(bytes.setCapacity(bytes.written().size())); }

 private:
  [[nodiscard]] bool findBounds();

  SegmentRect coded;
  GrowingBytes bytes;               // a file of its own
  std::vector<std::size_t> bounds;  // as in Segments
};

}  // namespace quorvin
