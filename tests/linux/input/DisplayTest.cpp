#include <gtest/gtest.h>

#include <future>
#include <memory>
#include <string>
#include <vector>

#include "platform/linux/capture/ScreenCapture.h"
#include "tests/linux/capture/ScreenPainter.h"
#include "tests/linux/input/InputHarness.h"

namespace quorvin {
namespace {

std::vector<std::shared_ptr<ShareableDisplay>> capturable(const std::string& server) {
  LinuxScreenCapture capture(server);
  std::promise<std::vector<std::shared_ptr<ShareableDisplay>>> answer;
  capture.getShareableContent(true, true, [&](auto content, const auto& /*error*/) {
    answer.set_value(content->displays);
  });
  return answer.get_future().get();
}

TEST(InputDisplays, AreThoseThatCanBeCaptured) {
  InputHarness harness;
  ScreenPainter painter(harness.server.display());
  painter.defineMonitor("left", {0, 0, 320, 480});
  painter.defineMonitor("right", {320, 100, 300, 200});
  const auto displays = capturable(harness.server.display());
  ASSERT_GE(displays.size(), 2U);
  harness.events->sync();
  for (const auto& display : displays) {
    EXPECT_TRUE(harness.events->displayIsActive(display->displayID()));
    const Rect bounds = harness.events->displayBounds(display->displayID());
    EXPECT_EQ(static_cast<std::int64_t>(bounds.size.width), display->widthPt());
    EXPECT_EQ(static_cast<std::int64_t>(bounds.size.height), display->heightPt());
  }
}

TEST(InputDisplays, AreFollowedWhileTheyMoveAndVanish) {
  InputHarness harness;
  ScreenPainter painter(harness.server.display());
  painter.defineMonitor("one", {0, 0, 320, 480});
  const auto display = capturable(harness.server.display()).front()->displayID();
  for (int step = 0; step < 20; ++step) {
    painter.deleteMonitor("one");
    painter.defineMonitor("one", {step, 2 * step, 100 + step, 50});
    harness.events->sync();
    EXPECT_EQ(harness.events->displayBounds(display),
              (Rect{{1.0 * step, 2.0 * step}, {100.0 + step, 50}}));
  }
  painter.deleteMonitor("one");
  harness.events->sync();
  EXPECT_FALSE(harness.events->displayIsActive(display));
  EXPECT_EQ(harness.events->displayBounds(display), Rect{});
}

TEST(InputDisplays, LieOnTheScreenEvenWhenTheyBeginLeftOfIt) {
  InputHarness harness;
  ScreenPainter painter(harness.server.display());
  painter.defineMonitor("one", {-100, -50, 300, 200});
  const auto display = capturable(harness.server.display()).front()->displayID();
  harness.events->sync();
  EXPECT_EQ(harness.events->displayBounds(display), (Rect{{0, 0}, {200, 150}}));
}

TEST(InputDisplays, AreTheWholeScreenOnAServerThatKnowsNone) {
  InputHarness harness({"-extension", "RANDR"});
  const auto display = capturable(harness.server.display()).front()->displayID();
  harness.events->sync();
  EXPECT_EQ(harness.events->displayBounds(display), (Rect{{0, 0}, {640, 480}}));
}

}  // namespace
}  // namespace quorvin
