#include <gtest/gtest.h>
#include <poll.h>
#include <xcb/randr.h>

#include "platform/linux/capture/FrameComposer.h"
#include "tests/linux/capture/SampleRecorder.h"
#include "tests/linux/capture/SessionHarness.h"
#include "tests/linux/capture/X11Proxy.h"

namespace quorvin {
namespace {

using Rows = std::vector<RowRange>;

constexpr PixelRect screen{0, 0, 320, 240};
constexpr std::uint32_t amber = 0xc08040;
constexpr std::uint32_t green = 0x00ff00;
constexpr std::uint32_t blue = 0x0000ff;

// A composer whose questions and frames the test puts between the strokes of a painter. Here the
// size of its frames.
class FrameComposerTest : public testing::TestWithParam<PixelSize> {
 protected:
  FrameComposerTest() {
    painter.fillAll(amber);
    damage.request();
    static_cast<void>(damage.waitForReply(screen));
    composer.configure(screen, GetParam(), 3);
  }

  std::shared_ptr<CapturedFrame> compose() { return composer.compose(cursor); }

  // Waits until the server has told that something changed.
  [[nodiscard]] bool waitForNews() {
    const auto deadline = std::chrono::steady_clock::now() + testTimeout;
    while (!damage.isPending() && std::chrono::steady_clock::now() < deadline) {
      pollfd source{connection.descriptor(), POLLIN, 0};
      poll(&source, 1, 1);
      while (const auto event = connection.pollEvent()) damage.handle(*event);
    }
    return damage.isPending();
  }

  // Lets the server report a change far from those that follow, so that only its pixels are asked
  // for together with what changed, and the others' when the frame is made.
  [[nodiscard]] bool waitForNewsFromTheCorner() {
    painter.fill({316, 236, 4, 4}, cornerColour++);
    return waitForNews();
  }

  // Holds the next frame against an earlier one and one that is made from nothing.
  void expectSoundFrameAfter(const FrameCopy& earlier) {
    const FrameCopy next(*compose());
    EXPECT_TRUE(agreeWhereUnchanged(earlier, next));
    composer.startOver();
    EXPECT_TRUE(lookTheSame(next, FrameCopy(*compose())));
  }

  // Makes the whole screen another size, as long as it shows on no monitor.
  [[nodiscard]] bool resize(std::uint16_t width, std::uint16_t height) {
    return connection.succeeded(xcb_randr_set_screen_size_checked(
        connection.get(), connection.root(), width, height, width, height));
  }
  void switchMonitorsOff() {
    const auto resources =
        x11Reply(xcb_randr_get_screen_resources_reply, connection.get(),
                 xcb_randr_get_screen_resources(connection.get(), connection.root()));
    const xcb_randr_crtc_t crtc = *xcb_randr_get_screen_resources_crtcs(resources.get());
    const auto done =
        x11Reply(xcb_randr_set_crtc_config_reply, connection.get(),
                 xcb_randr_set_crtc_config(connection.get(), crtc, XCB_CURRENT_TIME,
                                           resources->config_timestamp, 0, 0, XCB_NONE,
                                           XCB_RANDR_ROTATION_ROTATE_0, 0, nullptr));
  }

  // The rows of a frame that this rectangle of the screen certainly covers.
  [[nodiscard]] RowRange rowsOf(const PixelRect& rect) const {
    const int height = GetParam().height;
    return {rect.y * height / 240, (rect.bottom() * height + 239) / 240};
  }
  // Whether there is something of this rectangle among the rows that changed.
  static bool isChanged(const FrameCopy& earlier, const FrameCopy& later, RowRange rows) {
    return later.history->changedSince(*earlier.history, rows);
  }

  XServer server{{"-noreset"}};
  ScreenPainter painter{server.display()};
  X11Connection connection{server.display()};
  X11Extensions extensions = X11Extensions::negotiate(connection);
  X11DamageMonitor damage{connection, extensions, DamageReport::bounds};
  X11ScreenReader reader{connection, chooseTransport(connection, extensions),
                         std::make_shared<CaptureCounters>()};
  FrameComposer composer{reader, &damage, std::make_shared<EventFd>()};
  std::optional<CursorPlacement> cursor;
  std::uint32_t cornerColour = 0x405060;
};

TEST_P(FrameComposerTest, WhatChangesBetweenTheQuestionAndTheFetchIsMarkedTwice) {
  const FrameCopy first(*compose());
  ASSERT_TRUE(waitForNewsFromTheCorner());
  painter.fill({0, 50, 320, 10}, blue);
  ASSERT_TRUE(composer.findDamage());
  const PixelRect late{0, 55, 320, 10};  // half of it is about to be fetched
  const PixelRect elsewhere{100, 200, 30, 4};
  painter.fill(late, green);
  painter.fill(elsewhere, green);
  const FrameCopy second(*compose());
  EXPECT_TRUE(agreeWhereUnchanged(first, second));
  EXPECT_TRUE(isChanged(first, second, rowsOf({0, 50, 320, 10})));

  // The composer knows by itself that it is behind.
  EXPECT_TRUE(composer.isPending());
  ASSERT_TRUE(composer.findDamage());
  const FrameCopy third(*compose());
  EXPECT_TRUE(agreeWhereUnchanged(second, third));
  EXPECT_TRUE(agreeWhereUnchanged(first, third));
  EXPECT_TRUE(isChanged(second, third, rowsOf(late)));
  EXPECT_TRUE(isChanged(second, third, rowsOf(elsewhere)));
  EXPECT_FALSE(isChanged(second, third, {0, rowsOf(late).first - 3}));
  EXPECT_FALSE(composer.isPending());

  composer.startOver();
  EXPECT_TRUE(lookTheSame(third, FrameCopy(*compose())));
}

TEST_P(FrameComposerTest, WhatChangesBetweenTwoFetchedPartsBeforeTheFetchIsMarked) {
  const FrameCopy first(*compose());
  ASSERT_TRUE(waitForNewsFromTheCorner());
  // Near enough to be fetched as one, with the rows in between.
  painter.fill({0, 50, 320, 4}, blue);
  painter.fill({0, 60, 320, 4}, blue);
  ASSERT_TRUE(composer.findDamage());
  const PixelRect between{0, 56, 320, 2};
  painter.fill(between, green);
  const FrameCopy second(*compose());
  EXPECT_TRUE(agreeWhereUnchanged(first, second));
  EXPECT_TRUE(isChanged(first, second, rowsOf(between)));
  ASSERT_TRUE(composer.findDamage());
  const FrameCopy third(*compose());
  EXPECT_TRUE(agreeWhereUnchanged(second, third));
  EXPECT_TRUE(isChanged(second, third, rowsOf(between)));
}

TEST_P(FrameComposerTest, WhatChangesUnderTheCursorIsNotShownUnmarked) {
  auto image = std::make_shared<CursorImage>();
  image->size = {4, 4};
  image->pixels.assign(16, 0);  // nothing is opaque, so that one sees through
  cursor = CursorPlacement{image, {8, 40, 4, 4}};
  const FrameCopy first(*compose());
  ASSERT_TRUE(waitForNewsFromTheCorner());
  painter.fill({0, 200, 20, 2}, blue);
  ASSERT_TRUE(composer.findDamage());
  painter.fill({0, 0, 320, 120}, green);
  const FrameCopy second(*compose());
  EXPECT_TRUE(agreeWhereUnchanged(first, second));
  ASSERT_TRUE(composer.findDamage());
  const FrameCopy third(*compose());
  EXPECT_TRUE(agreeWhereUnchanged(second, third));
  composer.startOver();
  EXPECT_TRUE(lookTheSame(third, FrameCopy(*compose())));
}

TEST_P(FrameComposerTest, ASurfaceThatWasAwayForLongShowsNothingNewerThanMarked) {
  auto kept = compose();
  const FrameCopy first(*kept);
  painter.fill({0, 10, 320, 4}, blue);
  ASSERT_TRUE(waitForNews());
  ASSERT_TRUE(composer.findDamage());
  auto other = compose();  // on another surface
  const FrameCopy second(*other);
  // Now the first surface is free again, and rows 10 to 13 of it are stale.
  kept.reset();
  ASSERT_TRUE(waitForNewsFromTheCorner());
  painter.fill({0, 100, 320, 4}, blue);
  ASSERT_TRUE(composer.findDamage());
  painter.fill({0, 11, 320, 1}, green);
  const FrameCopy third(*compose());
  EXPECT_TRUE(agreeWhereUnchanged(second, third));
  EXPECT_TRUE(agreeWhereUnchanged(first, third));
  ASSERT_TRUE(composer.findDamage());
  EXPECT_TRUE(agreeWhereUnchanged(third, FrameCopy(*compose())));
}

TEST_P(FrameComposerTest, WhatChangesAfterTheFetchComesWithTheNextFrame) {
  const FrameCopy first(*compose());
  painter.fill({0, 50, 320, 10}, blue);
  ASSERT_TRUE(waitForNews());
  ASSERT_TRUE(composer.findDamage());  // which has fetched the pixels as well
  painter.fill({0, 55, 320, 10}, green);
  const FrameCopy second(*compose());
  EXPECT_TRUE(agreeWhereUnchanged(first, second));
  ASSERT_TRUE(waitForNews());
  ASSERT_TRUE(composer.findDamage());
  const FrameCopy third(*compose());
  EXPECT_TRUE(agreeWhereUnchanged(second, third));
  EXPECT_TRUE(isChanged(second, third, rowsOf({0, 55, 320, 10})));
  composer.startOver();
  EXPECT_TRUE(lookTheSame(third, FrameCopy(*compose())));
}

TEST_P(FrameComposerTest, WhatWasFetchedForNoFrameIsNotLost) {
  const FrameCopy first(*compose());
  painter.fill({0, 50, 320, 10}, blue);
  ASSERT_TRUE(waitForNews());
  ASSERT_TRUE(composer.findDamage());
  painter.fill({0, 55, 320, 10}, green);
  ASSERT_TRUE(waitForNews());
  ASSERT_TRUE(composer.findDamage());
  expectSoundFrameAfter(first);
}

TEST_P(FrameComposerTest, WhatChangesBesideTheDisplayIsNoChange) {
  const PixelRect display{20, 30, 100, 80};
  composer.configure(display, GetParam(), 3);
  const FrameCopy first(*compose());
  painter.fill({0, 0, 320, 30}, blue);
  ASSERT_TRUE(waitForNews());
  EXPECT_FALSE(composer.findDamage());
  painter.fill({110, 100, 20, 20}, blue);
  ASSERT_TRUE(waitForNews());
  ASSERT_TRUE(composer.findDamage());
  expectSoundFrameAfter(first);
}

TEST_P(FrameComposerTest, AReadingThatFailsBeginsANewSeries) {
  const auto first = compose();
  ASSERT_TRUE(first);
  // As while the mode of a screen changes.
  switchMonitorsOff();
  ASSERT_TRUE(resize(160, 120));
  painter.fill({0, 0, 10, 10}, green);
  ASSERT_TRUE(waitForNews());
  ASSERT_TRUE(composer.findDamage());
  EXPECT_FALSE(compose());
  EXPECT_TRUE(composer.isPending());
  ASSERT_TRUE(resize(320, 240));
  painter.fillAll(blue);
  // The composer must not depend on being told that all of it is new.
  damage.request();
  static_cast<void>(damage.waitForReply(screen));
  const auto second = compose();
  ASSERT_TRUE(second);
  EXPECT_EQ(rowsChangedSince(*first, *second), (Rows{{0, GetParam().height}}));
  EXPECT_NEAR(FrameCopy(*second).pixels.front(), blue, 2);  // scaling rounds
}

TEST_P(FrameComposerTest, AComparisonThatFailsBeginsANewSeries) {
  FrameComposer comparing(reader, nullptr, std::make_shared<EventFd>());
  comparing.configure(screen, GetParam(), 3);
  ASSERT_TRUE(comparing.findDamage());
  const auto first = comparing.compose({});
  ASSERT_TRUE(first);
  EXPECT_FALSE(comparing.findDamage());
  switchMonitorsOff();
  ASSERT_TRUE(resize(160, 120));
  ASSERT_TRUE(comparing.findDamage());
  EXPECT_FALSE(comparing.compose({}));
  ASSERT_TRUE(resize(320, 240));
  painter.fillAll(amber);  // as it was
  ASSERT_TRUE(comparing.findDamage());
  const auto second = comparing.compose({});
  ASSERT_TRUE(second);
  EXPECT_EQ(rowsChangedSince(*first, *second), (Rows{{0, GetParam().height}}));
  EXPECT_TRUE(lookTheSame(FrameCopy(*first), FrameCopy(*second)));
}

INSTANTIATE_TEST_SUITE_P(Sizes, FrameComposerTest,
                         testing::Values(PixelSize{320, 240}, PixelSize{240, 180},
                                         PixelSize{150, 113}, PixelSize{400, 300}));

// A composer of a part of the screen, whose questions can be torn apart on their way to the server.
// Here the size of its frames.
class TornQuestionTest : public testing::TestWithParam<PixelSize> {
 protected:
  static constexpr PixelRect display{20, 30, 100, 80};

  TornQuestionTest() {
    painter.fillAll(amber);
    damage.request();
    static_cast<void>(damage.waitForReply(screen));
    composer.configure(display, GetParam(), 3);
  }

  [[nodiscard]] bool isReadableInTime() const {
    pollfd source{connection.descriptor(), POLLIN, 0};
    return poll(&source, 1, std::chrono::milliseconds(testTimeout).count()) == 1;
  }

  // Changes the screen on both sides of the display, so that what is reported lies on it too.
  [[nodiscard]] bool changeAround() {
    painter.fill({0, 0, 10, 10}, green);
    painter.fill({200, 200, 10, 10}, green);
    return waitForReport();
  }

  // Waits until the server has reported something that lies on the display.
  [[nodiscard]] bool waitForReport() {
    while (intersectionOf(damage.reportedArea(), display).isEmpty()) {
      const auto event = connection.pollEvent();
      if (event) damage.handle(*event);
      if (!event && !isReadableInTime()) return false;
    }
    return true;
  }

  // Asks what changed and what changed since; the server has answered the first question and not
  // heard of the second when this returns.
  [[nodiscard]] bool askByHalves() {
    proxy.holdAfter(xcb_get_extension_data(connection.get(), &xcb_xfixes_id)->major_opcode,
                    XCB_XFIXES_FETCH_REGION);
    composer.requestDamage();
    xcb_flush(connection.get());
    return isReadableInTime();
  }

  XServer server{{"-noreset", "-extension", "MIT-SHM"}};
  ScreenPainter painter{server.display()};
  X11Proxy proxy{server.display()};
  X11Connection connection{proxy.display()};
  X11Extensions extensions = X11Extensions::negotiate(connection);
  X11DamageMonitor damage{connection, extensions, DamageReport::bounds};
  X11ScreenReader reader{connection, X11Transport::replies, std::make_shared<CaptureCounters>()};
  FrameComposer composer{reader, &damage, std::make_shared<EventFd>()};
};

// The server's report of such a change says nothing, since the second question has taken it.
TEST_P(TornQuestionTest, WhatChangesBetweenTheHalvesIsNotLostWhenNothingElseDid) {
  const FrameCopy first(*composer.compose({}));
  ASSERT_TRUE(changeAround());
  ASSERT_TRUE(askByHalves());
  painter.fill({40, 50, 30, 20}, blue);
  proxy.letPass();
  ASSERT_TRUE(composer.findDamage());
  const FrameCopy second(*composer.compose({}));
  EXPECT_TRUE(agreeWhereUnchanged(first, second));
  composer.startOver();
  EXPECT_TRUE(lookTheSame(second, FrameCopy(*composer.compose({}))));
}

TEST_P(TornQuestionTest, WhatChangesBetweenTheHalvesComesWithWhatElseDid) {
  const FrameCopy first(*composer.compose({}));
  painter.fill({25, 35, 4, 4}, green);
  ASSERT_TRUE(waitForReport());
  ASSERT_TRUE(askByHalves());
  painter.fill({25, 37, 4, 20}, blue);
  proxy.letPass();
  ASSERT_TRUE(composer.findDamage());
  const FrameCopy second(*composer.compose({}));
  EXPECT_TRUE(agreeWhereUnchanged(first, second));
  // It may have come too late for that frame.
  EXPECT_TRUE(composer.isPending());
  const FrameCopy third(*composer.compose({}));
  EXPECT_TRUE(agreeWhereUnchanged(second, third));
  composer.startOver();
  EXPECT_TRUE(lookTheSame(third, FrameCopy(*composer.compose({}))));
}

INSTANTIATE_TEST_SUITE_P(Sizes, TornQuestionTest,
                         testing::Values(PixelSize{100, 80}, PixelSize{50, 40}));

}  // namespace
}  // namespace quorvin
