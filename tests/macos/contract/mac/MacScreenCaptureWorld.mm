#import <CoreGraphics/CoreGraphics.h>

#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

#include "platform/macos/Dispatch.h"
#include "platform/macos/ScreenCapture.h"
#include "tests/contract/ScreenCaptureContract.h"
#include "tests/macos/contract/mac/RunLoop.h"

namespace quorvin::contract {
namespace {

// The displays of this Mac, as far as its user allows to look at them.
class MacScreenCaptureWorld final : public ScreenCaptureWorld {
 public:
  std::optional<std::string> missingPermission() override {
    if (CGPreflightScreenCaptureAccess()) return std::nullopt;
    return "Screen Recording is not granted to this program.";
  }

  ScreenCapture& screenCapture() override { return macScreenCapture; }
  std::shared_ptr<DispatchQueue> makeQueue(const std::string& label) override {
    return MacDispatch().makeSerialQueue(label, QualityOfService::userInteractive);
  }
  bool runUntil(const Condition& condition) override { return runLoopUntil(condition); }
  void settle() override {}
  void changeScreen() override { throw std::logic_error("the screen belongs to the user"); }
  void endStreams() override { throw std::logic_error("the system decides on that"); }
  void hideContent() override { throw std::logic_error("the user decides on that"); }

 private:
  MacScreenCapture macScreenCapture;
};

}  // namespace

INSTANTIATE_TEST_SUITE_P(Mac, ShareableContentContract,
                         testing::Values(WorldKind<ScreenCaptureWorld>{
                             "ScreenCaptureKit",
                             [] { return std::make_unique<MacScreenCaptureWorld>(); }}),
                         nameOfWorld);

}  // namespace quorvin::contract
