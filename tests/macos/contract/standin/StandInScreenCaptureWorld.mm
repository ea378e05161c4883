#import <AppKit/NSScreenControl.h>
#import <ScreenCaptureKit/ScreenCaptureKitControl.h>

#include <memory>
#include <string>

#include "platform/macos/Dispatch.h"
#include "platform/macos/ScreenCapture.h"
#include "tests/contract/ScreenCaptureContract.h"
#include "tests/macos/standin/Threads.h"

namespace quorvin::contract {
namespace {

class StandInScreenCaptureWorld final : public ScreenCaptureWorld {
 public:
  StandInScreenCaptureWorld() {
    standin::setShareableContent({.displays = {{7, 1440, 900}, {9, 2560, 1440}}});
    standin::setMainScreen(@{@"NSScreenNumber" : @9});
  }
  ~StandInScreenCaptureWorld() override {
    standin::settle();
    standin::resetScreenCaptureKit();
    standin::resetScreens();
  }

  ScreenCapture& screenCapture() override { return macScreenCapture; }
  std::shared_ptr<DispatchQueue> makeQueue(const std::string& label) override {
    return MacDispatch().makeSerialQueue(label, QualityOfService::userInteractive);
  }
  bool runUntil(const Condition& condition) override {
    settle();
    return condition();
  }
  void settle() override { standin::settle(); }

  void changeScreen() override {
    @autoreleasepool {
      for (const auto& stream : standin::captureStreams()) {
        if (stream->isRunning()) EXPECT_TRUE(stream->sendSample({}));
      }
    }
  }
  void endStreams() override {
    for (const auto& stream : standin::captureStreams()) {
      if (stream->isRunning()) {
        stream->stopWithError(standin::streamError(SCStreamErrorSystemStoppedStream));
      }
    }
  }
  void hideContent() override {
    standin::setShareableContent(
        {.hasContent = false, .error = standin::streamError(SCStreamErrorUserDeclined)});
  }

 private:
  MacScreenCapture macScreenCapture;
};

const auto screenCaptureKit = testing::Values(WorldKind<ScreenCaptureWorld>{
    "ScreenCaptureKit", [] { return std::make_unique<StandInScreenCaptureWorld>(); }});

}  // namespace

INSTANTIATE_TEST_SUITE_P(Mac, ShareableContentContract, screenCaptureKit, nameOfWorld);
INSTANTIATE_TEST_SUITE_P(Mac, HiddenContentContract, screenCaptureKit, nameOfWorld);
INSTANTIATE_TEST_SUITE_P(Mac, ScreenStreamContract, screenCaptureKit, nameOfWorld);

}  // namespace quorvin::contract
