#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/linux/jpeg/FrameBufferPool.h"
#include "platform/linux/jpeg/SegmentPlan.h"

namespace quorvin {

// The calls of libjpeg: baseline, colours at half resolution (4:2:0), the standard's own Huffman
// tables, a restart marker after each segment. Below quality 96 libyuv converts the colours; from
// there on its rounding would show. The DCT is the accurate one, which has the wider vector units
// and so takes no longer than the fast one. Both return false when libjpeg cannot do it, which is
// for want of memory, and print nothing. Any thread.

// What stands in front of the first segment in a file of that form, from SOI to SOS.
[[nodiscard]] bool writeJpegHead(const JpegForm& form, GrowingBytes& into);

// A whole file of a part of a picture, of so many BGRX pixels, cut into segments of that length.
[[nodiscard]] bool writeJpeg(const JpegForm& part, int segmentMcus, const std::uint8_t* firstPixel,
                             std::size_t strideBytes, GrowingBytes& into);

}  // namespace quorvin
