#pragma once

#import <ScreenCaptureKit/ScreenCaptureKit.h>
#import <dispatch/dispatch.h>

#include <memory>
#include <optional>
#include <vector>

#include "platform/Mutex.h"
#include "platform/ScreenCapture.h"
#include "platform/macos/StreamBridges.h"

namespace quorvin {

// A stream of ScreenCaptureKit's. Nothing promises that an SCStream keeps the bridges that it
// calls, nor that it answers once it was let go of. So every request holds all of this until it is
// answered, and the last block of each sample queue holds the bridges until the samples before it
// are through.
//
// ScreenCaptureKit may refuse to stop a stream whose start it has not answered, and that stream
// would then run on. Such a stop is asked for once more when the start is answered, which is why it
// gets a handler even without a completion. It is the second stop that the completion hears of.
//
// Nor does anything promise that a stream which is let go of stops. So the last thing that happens
// to one that may still run is a stop.
class MacScreenStream final : public ScreenStream,
                              public std::enable_shared_from_this<MacScreenStream> {
 public:
  MacScreenStream(SCContentFilter* filter, const StreamConfiguration& configuration,
                  std::weak_ptr<StreamDelegate> delegate);
  MacScreenStream(const MacScreenStream&) = delete;
  MacScreenStream& operator=(const MacScreenStream&) = delete;
  ~MacScreenStream() override;

  // The queue must be one of MacDispatch.
  [[nodiscard]] std::optional<Error> addStreamOutput(
      std::weak_ptr<StreamOutput> output, StreamOutputType type,
      std::shared_ptr<DispatchQueue> sampleHandlerQueue) override;
  void startCapture(Completion completion) override;
  void stopCapture(Completion completion) override;
  void updateConfiguration(const StreamConfiguration& configuration,
                           Completion completion) override;

 private:
  struct Output {
    QuorvinStreamOutput* bridge;
    dispatch_queue_t queue;
  };

  // Any thread.
  void requestStop(Completion completion);
  void stopOnceStarted(const Completion& completion);
  void startAnswered(NSError* error);
  // Whether nobody has stopped what was started; whoever asks is to do it.
  [[nodiscard]] bool takeOwedStop();
  [[nodiscard]] bool isStarting();

  QuorvinStreamDelegate* delegateBridge;
  std::vector<Output> outputs;
  SCStream* stream;

  Mutex mutex;
  bool startIsUnanswered QUORVIN_GUARDED_BY(mutex) = false;
  bool isStopOwed QUORVIN_GUARDED_BY(mutex) = false;
  std::vector<Completion> refusedStops QUORVIN_GUARDED_BY(mutex);
};

}  // namespace quorvin
