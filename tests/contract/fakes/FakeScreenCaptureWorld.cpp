#include <memory>
#include <string>

#include "tests/contract/ScreenCaptureContract.h"
#include "tests/fakes/FakeScreenCapture.h"
#include "tests/fakes/SimulatedDispatch.h"

namespace quorvin::contract {
namespace {

// The fake does whatever a test says. Here it plays a system that keeps its word.
class FakeScreenCaptureWorld final : public ScreenCaptureWorld {
 public:
  explicit FakeScreenCaptureWorld(std::uint64_t seed) : dispatch(seed) {
    capture.setDisplays({std::make_shared<fakes::FakeDisplay>(1, 1440, 900),
                         std::make_shared<fakes::FakeDisplay>(2, 1920, 1080)});
  }
  ~FakeScreenCaptureWorld() override { EXPECT_TRUE(capture.violations.empty()); }

  ScreenCapture& screenCapture() override { return capture; }
  std::shared_ptr<DispatchQueue> makeQueue(const std::string& label) override {
    return dispatch.makeSerialQueue(label, QualityOfService::userInteractive);
  }
  bool runUntil(const Condition& condition) override {
    settle();
    return condition();
  }
  void settle() override { dispatch.runUntilIdle(); }

  void changeScreen() override {
    forRunningStreams([&](fakes::FakeStream& stream) {
      const auto& size = stream.configuration;
      stream.send(fakes::FakeSample::complete(++contents, static_cast<std::size_t>(size.width),
                                              static_cast<std::size_t>(size.height)));
    });
  }
  void endStreams() override {
    forRunningStreams([](fakes::FakeStream& stream) {
      stream.stopWithError({fakes::fakeStreamErrorDomain, -3821, "The system ended the stream."});
    });
  }
  void hideContent() override {
    capture.contentError = Error(fakes::fakeStreamErrorDomain, -3801, "The user declined.");
  }

 private:
  template <typename Action>
  void forRunningStreams(const Action& action) {
    for (const auto& known : capture.streams) {
      const auto stream = known.lock();
      if (stream && stream->startCalls > 0 && stream->stopCalls == 0) action(*stream);
    }
  }

  fakes::SimulatedDispatch dispatch;
  fakes::FakeScreenCapture capture{dispatch};
  std::uint32_t contents = 0;
};

WorldKind<ScreenCaptureWorld> simulation(std::uint64_t seed) {
  return {"Seed" + std::to_string(seed), [=] {
            return std::make_unique<FakeScreenCaptureWorld>(seed);
          }};
}

const auto simulations = testing::Values(simulation(1), simulation(2));

}  // namespace

INSTANTIATE_TEST_SUITE_P(Fake, ShareableContentContract, simulations, nameOfWorld);
INSTANTIATE_TEST_SUITE_P(Fake, HiddenContentContract, simulations, nameOfWorld);
INSTANTIATE_TEST_SUITE_P(Fake, ScreenStreamContract, simulations, nameOfWorld);

}  // namespace quorvin::contract
