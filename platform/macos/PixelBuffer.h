#pragma once

#import <CoreVideo/CoreVideo.h>

#include <cstddef>

#include "platform/ScreenCapture.h"

namespace quorvin {

// A picture of Core Video's, held for as long as this lives. Any thread.
class MacPixelBuffer final : public PixelBuffer {
 public:
  explicit MacPixelBuffer(CVPixelBufferRef buffer) : buffer(CVPixelBufferRetain(buffer)) {}
  ~MacPixelBuffer() override { CVPixelBufferRelease(buffer); }

  [[nodiscard]] std::size_t widthPx() const override { return CVPixelBufferGetWidth(buffer); }
  [[nodiscard]] std::size_t heightPx() const override { return CVPixelBufferGetHeight(buffer); }

  // For encoders; valid while this object lives.
  [[nodiscard]] CVPixelBufferRef pixelBuffer() const { return buffer; }

 private:
  CVPixelBufferRef buffer;
};

}  // namespace quorvin
