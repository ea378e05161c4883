#include <chrono>
#include <cstdint>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "platform/linux/capture/ScreenCapture.h"
#include "platform/linux/dispatch/Dispatch.h"
#include "tests/contract/ScreenCaptureContract.h"
#include "tests/linux/capture/ScreenPainter.h"
#include "tests/linux/system/XServer.h"

namespace quorvin::contract {
namespace {

using Clock = std::chrono::steady_clock;
constexpr std::chrono::seconds timeout{20};
constexpr std::chrono::milliseconds lookAgain{1};

// An X server of its own, with a primary monitor if asked for.
class LinuxScreenCaptureWorld final : public ScreenCaptureWorld {
 public:
  explicit LinuxScreenCaptureWorld(bool hasPrimary) {
    if (hasPrimary) painter.defineMonitor("primary", {0, 0, 320, 240}, true);
  }

  ScreenCapture& screenCapture() override { return capture; }
  std::shared_ptr<DispatchQueue> makeQueue(const std::string& label) override {
    queues.push_back(dispatch.makeSerialQueue(label, QualityOfService::userInteractive));
    return queues.back();
  }
  bool runUntil(const Condition& condition) override {
    const auto deadline = Clock::now() + timeout;
    while (!condition()) {
      if (Clock::now() > deadline) return false;
      std::this_thread::sleep_for(lookAgain);
    }
    return true;
  }
  void settle() override {
    for (const auto& queue : queues) {
      const auto reached = std::make_shared<std::promise<void>>();
      queue->async([reached] { reached->set_value(); });
      reached->get_future().wait();
    }
  }

  void changeScreen() override { painter.fillAll(++colour); }
  void endStreams() override { server.end(); }
  void hideContent() override { server.end(); }

 private:
  // Otherwise the server forgets everything whenever its last client leaves.
  XServer server{{"-noreset"}};
  ScreenPainter painter{server.display()};
  LinuxDispatch dispatch;
  LinuxScreenCapture capture{server.display()};
  std::vector<std::shared_ptr<DispatchQueue>> queues;
  std::uint32_t colour = 0;
};

const auto servers = testing::Values(
    WorldKind<ScreenCaptureWorld>{"X11",
                                  [] {
                                    return std::make_unique<LinuxScreenCaptureWorld>(false);
                                  }},
    WorldKind<ScreenCaptureWorld>{"X11WithPrimary", [] {
                                    return std::make_unique<LinuxScreenCaptureWorld>(true);
                                  }});

}  // namespace

INSTANTIATE_TEST_SUITE_P(Linux, ShareableContentContract, servers, nameOfWorld);
INSTANTIATE_TEST_SUITE_P(Linux, HiddenContentContract, servers, nameOfWorld);
INSTANTIATE_TEST_SUITE_P(Linux, ScreenStreamContract, servers, nameOfWorld);

}  // namespace quorvin::contract
