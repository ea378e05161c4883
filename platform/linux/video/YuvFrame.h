#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "platform/linux/frame/CapturedFrame.h"
#include "platform/linux/frame/PixelRegion.h"

namespace quorvin {

// A frame in the form that video encoders take: a plane of lumas, then one of half the width and
// height in which the two chromas of each four pixels alternate. Colours are those of ITU-R BT.709
// in eight bits of limited range. Chroma lies in the middle of its four pixels. Sides are even: a
// frame of odd width or height has its last column or row twice. One thread at a time.
class YuvFrame {
 public:
  // Of captured frames of that size.
  explicit YuvFrame(PixelSize captured);

  // The frame must have the size given at construction.
  void convert(const CapturedFrame& frame);

  [[nodiscard]] PixelSize size() const { return padded; }
  [[nodiscard]] const std::uint8_t* lumas() const { return bytes.data(); }
  [[nodiscard]] const std::uint8_t* chromas() const { return bytes.data() + chromaOffset; }
  // Of both planes.
  [[nodiscard]] std::size_t strideBytes() const { return stride; }

 private:
  PixelSize captured;
  PixelSize padded;
  std::size_t stride;
  std::size_t chromaOffset;
  std::vector<std::uint8_t> bytes;
};

}  // namespace quorvin
