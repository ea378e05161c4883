#pragma once

#include "platform/ScreenCapture.h"
#include "tests/contract/CaptureRecorders.h"

namespace quorvin::contract {

// A picture that no back end has made.
class ForeignPixelBuffer final : public PixelBuffer {
 public:
  explicit ForeignPixelBuffer(const PictureSize& size) : size(size) {}

  [[nodiscard]] std::size_t widthPx() const override { return size.width; }
  [[nodiscard]] std::size_t heightPx() const override { return size.height; }

 private:
  PictureSize size;
};

}  // namespace quorvin::contract
