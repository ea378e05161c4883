#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/linux/jpeg/FrameBufferPool.h"
#include "platform/linux/jpeg/SegmentPlan.h"

namespace quorvin {

// The calls of libjpeg: baseline, colours at half resolution (4:2:0), the standard's own Huffman
// tables, a restart marker after each segment. Below quality 96 libyuv converts the colours; above,
// its rounding would show. The accurate DCT takes no longer than the fast one, whose vector code is
// narrower. Both functions return false when memory is exhausted, and print nothing. Any thread.

// What stands in front of the first segment in a file with these parameters, from SOI to SOS.
[[nodiscard]] bool writeJpegHeader(const JpegParams& params, ByteBuffer& into);

// A whole file of a part of a frame, of so many BGRX pixels, cut into segments of that length.
[[nodiscard]] bool writeJpeg(const JpegParams& part, int segmentMcus,
                             const std::uint8_t* firstPixel, std::size_t strideBytes,
                             ByteBuffer& into);

}  // namespace quorvin
