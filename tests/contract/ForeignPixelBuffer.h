#pragma once

#include "platform/ScreenCapture.h"
#include "tests/contract/CaptureRecorders.h"

namespace quorvin::contract {

// A frame that no back end has made.
class ForeignPixelBuffer final : public PixelBuffer {
 public:
  explicit ForeignPixelBuffer(const FrameSize& size) : size(size) {}

  [[nodiscard]] std::size_t widthPx() const override { return size.width; }
  [[nodiscard]] std::size_t heightPx() const override { return size.height; }

 private:
  FrameSize size;
};

}  // namespace quorvin::contract
