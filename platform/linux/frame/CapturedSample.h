#pragma once

#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "platform/ScreenCapture.h"
#include "platform/linux/frame/CapturedPixelBuffer.h"

namespace quorvin {

// A sample as the worker delivers it: always valid, with its one attachment. Any thread.
class CapturedSample final : public CaptureSample {
 public:
  CapturedSample(std::int64_t frameStatus, MediaTime time,
                 std::shared_ptr<CapturedPixelBuffer> picture)
      : frameStatus(frameStatus), time(time), picture(std::move(picture)) {}

  [[nodiscard]] bool isValid() const override { return true; }
  [[nodiscard]] std::optional<std::vector<SampleAttachments>> attachments() const override {
    return std::vector{SampleAttachments{frameStatus}};
  }
  [[nodiscard]] std::shared_ptr<PixelBuffer> imageBuffer() const override { return picture; }
  // When the capture was decided on, in nanoseconds of the monotonic clock.
  [[nodiscard]] MediaTime presentationTimeStamp() const override { return time; }

 private:
  std::int64_t frameStatus;
  MediaTime time;
  std::shared_ptr<CapturedPixelBuffer> picture;
};

}  // namespace quorvin
