#include <gtest/gtest.h>
#include <xcb/screensaver.h>
#include <xcb/xcb.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <memory>

#include "platform/linux/system/Process.h"
#include "tests/linux/system/MainLoop.h"
#include "tests/linux/system/WaitingTime.h"
#include "tests/linux/system/XServer.h"

namespace quorvin {
namespace {

constexpr auto options = activityUserInitiated | activityLatencyCritical;

// A display whose screen saver starts after one second without input.
class ActivityScreenSaverTest : public testing::Test {
 protected:
  ActivityScreenSaverTest() {
    xcb_set_screen_saver(connection.get(), 1, 0, XCB_BLANKING_PREFERRED, XCB_EXPOSURES_ALLOWED);
  }

  // Of the display, at this moment.
  std::uint8_t state() {
    const auto root = xcb_setup_roots_iterator(xcb_get_setup(connection.get())).data->root;
    const auto request = xcb_screensaver_query_info(connection.get(), root);
    const std::unique_ptr<xcb_screensaver_query_info_reply_t, decltype(&std::free)> reply(
        xcb_screensaver_query_info_reply(connection.get(), request, nullptr), &std::free);
    return reply != nullptr ? reply->state : std::uint8_t{0xFF};
  }
  bool isSaving() { return state() == XCB_SCREENSAVER_STATE_ON; }

  // Thrice the time after which the display would save its screen.
  static constexpr std::chrono::milliseconds longTime{3000};

  XServer server;
  std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> connection{
      xcb_connect(server.display().c_str(), nullptr), &xcb_disconnect};
  LinuxProcess process{{}, {.display = server.display(), .busAddress = ""}};
};

TEST_F(ActivityScreenSaverTest, HoldsTheScreenSaverOffUntilTheActivityIsEnded) {
  const auto token = process.beginActivity(options, "A session is active.");
  EXPECT_FALSE(runMainLoopUntil([&] { return isSaving(); }, longTime));
  EXPECT_EQ(state(), XCB_SCREENSAVER_STATE_OFF);
  process.endActivity(token);
  EXPECT_TRUE(runMainLoopUntil([&] { return isSaving(); }));
}

TEST_F(ActivityScreenSaverTest, LetsTheScreenSaverStartOnceTheTokenIsGone) {
  auto token = process.beginActivity(options, "A session is active.");
  EXPECT_FALSE(runMainLoopUntil([&] { return isSaving(); }, longTime));
  token.reset();
  EXPECT_TRUE(runMainLoopUntil([&] { return isSaving(); }));
}

TEST_F(ActivityScreenSaverTest, NeverWaitsForADisplayThatHangs) {
  server.freeze();
  const WaitingTime waited;
  auto token = process.beginActivity(options, "A session is active.");
  process.endActivity(token);
  EXPECT_LT(waited.passed(), std::chrono::seconds(5));
}

}  // namespace
}  // namespace quorvin
