#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/ScreenCapture.h"
#include "tests/contract/CaptureRecorders.h"
#include "tests/contract/Contract.h"

namespace quorvin::contract {

// A system with at least one display that may be captured.
class ScreenCaptureWorld {
 public:
  ScreenCaptureWorld() = default;
  ScreenCaptureWorld(const ScreenCaptureWorld&) = delete;
  ScreenCaptureWorld& operator=(const ScreenCaptureWorld&) = delete;
  virtual ~ScreenCaptureWorld() = default;

  // What the system must be allowed to do before any of this can be tried, where only the running
  // system knows whether it is. Such a test is skipped and says so.
  virtual std::optional<std::string> missingPermission() { return std::nullopt; }

  virtual ScreenCapture& screenCapture() = 0;
  // A serial queue that samples may come on.
  virtual std::shared_ptr<DispatchQueue> makeQueue(const std::string& label) = 0;
  // Lets the system work until the condition holds; false when it never does.
  virtual bool runUntil(const Condition& condition) = 0;
  // Lets everything arrive that is on its way.
  virtual void settle() = 0;

  // The displays show something new, which every running stream has to bring.
  virtual void changeScreen() = 0;
  // The system ends the streams that are running.
  virtual void endStreams() = 0;
  // From now on the system cannot say what there is to share.
  virtual void hideContent() = 0;
};

class ShareableContentContract : public Contract<ScreenCaptureWorld> {
 protected:
  void SetUp() override;

  struct Answer {
    std::shared_ptr<const ShareableContent> content;
    std::optional<Error> error;
  };
  // The one answer to a question for content.
  Answer ask();
};

// Systems that can be kept from saying what there is to share.
class HiddenContentContract : public ShareableContentContract {};

class ScreenStreamContract : public Contract<ScreenCaptureWorld> {
 protected:
  static constexpr FrameSize usualSize{320, 240};
  static StreamConfiguration configurationOf(const FrameSize& size);

  bool runUntil(const Condition& condition) { return world->runUntil(condition); }
  // A stream of the first display, with the recorders for its output and delegate.
  void makeStream();
  // Starts it as well, and waits until it runs.
  void startStream();
  // Stops it and waits for the answer.
  void stopStream();
  // Changes the screen until a frame of that size has come, after those that came before.
  void expectNewFrame(const FrameSize& size);
  // Lets the stream come to an end and sees that the screen may change without a sample.
  void expectNoMoreSamples();

  std::shared_ptr<DispatchQueue> queue = world->makeQueue("com.quorvin.contract.samples");
  std::shared_ptr<SampleRecorder> output = std::make_shared<SampleRecorder>(queue);
  std::shared_ptr<StopRecorder> delegate = std::make_shared<StopRecorder>();
  std::shared_ptr<ScreenStream> stream;
};

}  // namespace quorvin::contract
