#pragma once

#import <CoreMedia/CoreMedia.h>

#include <memory>
#include <optional>
#include <vector>

#include "platform/ScreenCapture.h"

namespace quorvin {

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
