#pragma once

#include <memory>
#include <optional>

#include "platform/ScreenCapture.h"
#include "platform/linux/capture/CaptureWorker.h"

namespace quorvin {

// A stream as its user holds it. The worker behind it ends by itself once the stream is released.
class LinuxScreenStream final : public ScreenStream {
 public:
  // Without a target, as when the filter named no display, the stream cannot be started.
  LinuxScreenStream(std::optional<CaptureTarget> target, const StreamConfiguration& configuration,
                    std::weak_ptr<StreamDelegate> delegate,
                    std::shared_ptr<CaptureCounters> counters);
  ~LinuxScreenStream() override;

  // One output, and the screen only.
  [[nodiscard]] std::optional<Error> addStreamOutput(
      std::weak_ptr<StreamOutput> output, StreamOutputType type,
      std::shared_ptr<DispatchQueue> sampleHandlerQueue) override;
  void startCapture(Completion completion) override;
  void stopCapture(Completion completion) override;
  void updateConfiguration(const StreamConfiguration& configuration,
                           Completion completion) override;

 private:
  bool hasTarget;
  std::shared_ptr<CaptureWorker> worker;
  std::weak_ptr<StreamOutput> currentOutput;
};

}  // namespace quorvin
