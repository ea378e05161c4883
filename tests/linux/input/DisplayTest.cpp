#include <gtest/gtest.h>

#include <future>
#include <memory>
#include <string>
#include <vector>

#include "platform/linux/capture/ScreenCapture.h"
#include "tests/linux/capture/ScreenPainter.h"
#include "tests/linux/input/InputStand.h"

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
  InputStand stand;
  ScreenPainter painter(stand.server.display());
  painter.defineMonitor("left", {0, 0, 320, 480});
  painter.defineMonitor("right", {320, 100, 300, 200});
  const auto displays = capturable(stand.server.display());
  ASSERT_GE(displays.size(), 2U);
  stand.events->settle();
  for (const auto& display : displays) {
    EXPECT_TRUE(stand.events->displayIsActive(display->displayID()));
    const Rect bounds = stand.events->displayBounds(display->displayID());
    EXPECT_EQ(static_cast<std::int64_t>(bounds.size.width), display->widthPt());
    EXPECT_EQ(static_cast<std::int64_t>(bounds.size.height), display->heightPt());
  }
}

TEST(InputDisplays, AreFollowedWhileTheyMoveAndVanish) {
  InputStand stand;
  ScreenPainter painter(stand.server.display());
  painter.defineMonitor("one", {0, 0, 320, 480});
  const auto display = capturable(stand.server.display()).front()->displayID();
  for (int step = 0; step < 20; ++step) {
    painter.deleteMonitor("one");
    painter.defineMonitor("one", {step, 2 * step, 100 + step, 50});
    stand.events->settle();
    EXPECT_EQ(stand.events->displayBounds(display),
              (Rect{{1.0 * step, 2.0 * step}, {100.0 + step, 50}}));
  }
  painter.deleteMonitor("one");
  stand.events->settle();
  EXPECT_FALSE(stand.events->displayIsActive(display));
  EXPECT_EQ(stand.events->displayBounds(display), Rect{});
}

TEST(InputDisplays, LieOnTheScreenEvenWhenTheyBeginLeftOfIt) {
  InputStand stand;
  ScreenPainter painter(stand.server.display());
  painter.defineMonitor("one", {-100, -50, 300, 200});
  const auto display = capturable(stand.server.display()).front()->displayID();
  stand.events->settle();
  EXPECT_EQ(stand.events->displayBounds(display), (Rect{{0, 0}, {200, 150}}));
}

TEST(InputDisplays, AreTheWholeScreenOnAServerThatKnowsNone) {
  InputStand stand({"-extension", "RANDR"});
  const auto display = capturable(stand.server.display()).front()->displayID();
  stand.events->settle();
  EXPECT_EQ(stand.events->displayBounds(display), (Rect{{0, 0}, {640, 480}}));
}

}  // namespace
}  // namespace quorvin
