#pragma once

#import <ScreenCaptureKit/ScreenCaptureKit.h>

#include <memory>
#include <optional>
#include <vector>

#include "platform/ScreenCapture.h"
#include "platform/macos/StreamBridges.h"

namespace quorvin {

// A stream of ScreenCaptureKit's. The bridges are kept here, since an SCStream knows its delegate
// only weakly.
class MacScreenStream final : public ScreenStream {
 public:
  MacScreenStream(SCContentFilter* filter, const StreamConfiguration& configuration,
                  std::weak_ptr<StreamDelegate> delegate);

  // The queue must be one of MacDispatch.
  [[nodiscard]] std::optional<Error> addStreamOutput(
      std::weak_ptr<StreamOutput> output, StreamOutputType type,
      std::shared_ptr<DispatchQueue> sampleHandlerQueue) override;
  void startCapture(Completion completion) override;
  void stopCapture(Completion completion) override;
  void updateConfiguration(const StreamConfiguration& configuration,
                           Completion completion) override;

 private:
  QuorvinStreamDelegate* delegateBridge;
  std::vector<QuorvinStreamOutput*> outputBridges;
  SCStream* stream;
};

}  // namespace quorvin
