#pragma once

#import <CoreMedia/CoreMedia.h>
#import <CoreVideo/CoreVideo.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <vector>

#include "platform/ScreenCapture.h"

namespace quorvin {

// A pixel buffer of Core Video's, held for as long as this lives. Any thread.
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

// A view of a sample buffer that somebody else keeps alive: valid inside the callback it came with.
class MacCaptureSample final : public CaptureSample {
 public:
  explicit MacCaptureSample(CMSampleBufferRef sample) : sample(sample) {}

  [[nodiscard]] bool isValid() const override;
  [[nodiscard]] std::optional<std::vector<SampleAttachments>> attachments() const override;
  [[nodiscard]] std::shared_ptr<PixelBuffer> imageBuffer() const override;
  [[nodiscard]] MediaTime presentationTimeStamp() const override;

 private:
  CMSampleBufferRef sample;
};

}  // namespace quorvin
