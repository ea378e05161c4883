#pragma once

#include <cstddef>
#include <vector>

#include "platform/linux/frame/CapturedFrame.h"
#include "platform/linux/jpeg/FrameBufferPool.h"
#include "platform/linux/jpeg/JpegFile.h"
#include "platform/linux/jpeg/SegmentPlan.h"

namespace quorvin {

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

}  // namespace quorvin
