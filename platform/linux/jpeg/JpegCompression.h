#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "platform/linux/jpeg/GrowingBytes.h"
#include "platform/linux/jpeg/JpegForm.h"

namespace quorvin {

// The calls of libjpeg: baseline, colours at half resolution (4:2:0), the standard's own Huffman
// tables, a restart marker after each MCU row. The fast DCT does below quality 96, from where on
// its rounding would show. Both return false when libjpeg cannot do it, which is for want of
// memory, and print nothing. Any thread.

// What stands in front of the first MCU row in a file of that form, from SOI to SOS.
[[nodiscard]] bool writeJpegHead(const JpegForm& form, GrowingBytes& into);

// The MCU rows of `form.heightPx` rows of BGRX pixels, and nothing in front of them. Behind each
// stand two bytes: a restart marker, numbered as if the first row were that of a file, or EOI.
// `marks`, one for each row, tells where to look for them: libjpeg holds the last bytes of a row
// back until the next begins, so that the marker is the first one from there on.
[[nodiscard]] bool codeMcuRows(const JpegForm& form, const std::uint8_t* firstRow,
                               std::size_t strideBytes, GrowingBytes& into,
                               std::span<std::size_t> marks);

}  // namespace quorvin
