#pragma once

#include <cstddef>
#include <vector>

#include "platform/linux/capture/CapturedPixelBuffer.h"
#include "platform/linux/jpeg/GrowingBytes.h"
#include "platform/linux/jpeg/JpegFile.h"
#include "platform/linux/jpeg/JpegForm.h"

namespace quorvin {

// MCU rows that follow each other in a picture, coded in one go: libjpeg needs as long to begin as
// it does for a tenth of a row of a large screen. Reused from picture to picture. One thread at a
// time.
class CodedRun {
 public:
  // False when memory is exhausted.
  [[nodiscard]] bool code(const CapturedPixelBuffer& picture, const JpegForm& form,
                          RowRange mcuRows);

  // Of the last `code` that came true, and up to the next.
  [[nodiscard]] RowRange place() const { return coded; }
  [[nodiscard]] McuRows rows() const { return {bytes.written().data(), bounds}; }

  [[nodiscard]] std::size_t capacityBytes() const { return bytes.capacityBytes(); }
  void releaseSpare() { static_cast<void>(bytes.setCapacity(bytes.written().size())); }

 private:
  RowRange coded;
  GrowingBytes bytes;
  std::vector<std::size_t> bounds;  // as in McuRows
};

}  // namespace quorvin
