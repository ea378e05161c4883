#include <gtest/gtest.h>

#include "tests/linux/capture/CaptureHarness.h"

namespace quorvin {
namespace {

constexpr std::uint32_t red = 0xff0000;
constexpr std::uint32_t green = 0x00ff00;
constexpr std::uint32_t blue = 0x0000ff;
constexpr std::uint32_t amber = 0xc08040;

// The ways in which servers can differ; each must give the same frames.
class StreamFrameTest : public testing::TestWithParam<std::vector<std::string>> {
 protected:
  // An amber screen with a green cursor, whose middle is at that place.
  void showCursorAt(int x, int y, int size = 16) {
    harness.painter.fillAll(amber);
    harness.painter.setCursor(size, green, size / 2);
    harness.painter.movePointer(x, y);
  }
  // The same, captured with its cursor; false when that did not come to be seen.
  [[nodiscard]] bool captureCursorAt(int x, int y) {
    showCursorAt(x, y);
    auto configuration = CaptureHarness::usualConfiguration();
    configuration.showsCursor = true;
    return harness.start(configuration) && harness.recorder->waitForColour(x, y, green);
  }

  CaptureHarness harness{GetParam()};
};

TEST_P(StreamFrameTest, ShowsTheScreenInItsColours) {
  harness.painter.fillAll(amber);
  harness.painter.fill({10, 20, 30, 40}, red);
  harness.painter.fill({300, 200, 20, 40}, blue);
  ASSERT_TRUE(harness.start(CaptureHarness::usualConfiguration()));
  ASSERT_TRUE(harness.recorder->waitForFrames(1));
  const auto frame = harness.recorder->frames().front();
  EXPECT_EQ(frame.size, (PixelSize{320, 240}));
  EXPECT_EQ(frame.colourAt(9, 20), amber);
  EXPECT_EQ(frame.colourAt(10, 20), red);
  EXPECT_EQ(frame.colourAt(39, 59), red);
  EXPECT_EQ(frame.colourAt(40, 59), amber);
  EXPECT_EQ(frame.colourAt(319, 239), blue);
}

TEST_P(StreamFrameTest, FollowsChangesOfAnySize) {
  harness.painter.fillAll(amber);
  ASSERT_TRUE(harness.start(CaptureHarness::usualConfiguration()));
  ASSERT_TRUE(harness.recorder->waitForColour(0, 0, amber));
  harness.painter.fill({100, 100, 7, 5}, red);
  ASSERT_TRUE(harness.recorder->waitForColour(106, 104, red));
  harness.painter.fill({0, 50, 320, 3}, green);
  ASSERT_TRUE(harness.recorder->waitForColour(319, 52, green));
  harness.painter.fill({200, 0, 120, 240}, blue);
  ASSERT_TRUE(harness.recorder->waitForColour(250, 51, blue));
  const auto frame = harness.recorder->frames().back();
  EXPECT_EQ(frame.colourAt(106, 104), red);
  EXPECT_EQ(frame.colourAt(107, 104), amber);
  EXPECT_EQ(frame.colourAt(106, 105), amber);
  EXPECT_EQ(frame.colourAt(199, 52), green);
  EXPECT_EQ(frame.colourAt(199, 53), amber);
}

TEST_P(StreamFrameTest, EveryFrameIsTheWholeScreenWhateverSurfaceItUses) {
  harness.painter.fillAll(amber);
  auto configuration = CaptureHarness::usualConfiguration();
  configuration.minimumFrameInterval = {1, 200};
  ASSERT_TRUE(harness.start(configuration));
  harness.recorder->holdFrames();
  for (int i = 0; i < 12; ++i) {
    harness.painter.fill({i * 20, 60, 10, 10}, red);
    ASSERT_TRUE(harness.recorder->waitForColour(i * 20, 60, red));
    // Now and then all surfaces come back, so that old ones are used again.
    if (i % 2 == 1) {
      harness.recorder->letFramesGo();
      harness.recorder->holdFrames();
    }
    const auto frame = harness.recorder->frames().back();
    for (int j = 0; j < 12; ++j) EXPECT_EQ(frame.colourAt(j * 20, 60), j <= i ? red : amber);
  }
}

TEST_P(StreamFrameTest, ScalesTheScreenToTheConfiguredSize) {
  harness.painter.fillAll(amber);
  harness.painter.fill({160, 120, 160, 120}, green);
  auto configuration = CaptureHarness::usualConfiguration();
  configuration.width = 200;
  configuration.height = 150;
  ASSERT_TRUE(harness.start(configuration));
  ASSERT_TRUE(harness.recorder->waitForFrames(1));
  const auto frame = harness.recorder->frames().front();
  EXPECT_EQ(frame.size, (PixelSize{200, 150}));
  EXPECT_TRUE(frame.isAbout(10, 10, amber));
  EXPECT_TRUE(frame.isAbout(190, 140, green));
  harness.painter.fill({0, 0, 32, 32}, red);
  ASSERT_TRUE(harness.recorder->waitForColour(10, 10, red));
  EXPECT_TRUE(harness.recorder->frames().back().isAbout(190, 140, green));
}

TEST_P(StreamFrameTest, ShowsThePartOfTheScreenThatTheMonitorCovers) {
  if (harness.displays().size() != 1) FAIL() << "a plain server has one display";
  harness.painter.defineMonitor("right", {160, 40, 160, 200});
  if (harness.displays().size() == 1) return;  // a server without monitors has no parts
  harness.painter.fillAll(amber);
  harness.painter.fill({160, 40, 8, 8}, red);
  auto configuration = CaptureHarness::usualConfiguration();
  configuration.width = 160;
  configuration.height = 200;
  ASSERT_TRUE(harness.start(configuration));
  ASSERT_TRUE(harness.recorder->waitForColour(0, 0, red));
  harness.painter.fill({318, 238, 2, 2}, green);
  ASSERT_TRUE(harness.recorder->waitForColour(159, 199, green));
  EXPECT_EQ(harness.recorder->frames().back().colourAt(157, 199), amber);
}

TEST_P(StreamFrameTest, ShowsTheCursorOnlyIfAsked) {
  showCursorAt(100, 100);
  ASSERT_TRUE(harness.start(CaptureHarness::usualConfiguration()));
  ASSERT_TRUE(harness.recorder->waitForFrames(1));
  EXPECT_EQ(harness.recorder->frames().front().colourAt(100, 100), amber);

  auto configuration = CaptureHarness::usualConfiguration();
  configuration.showsCursor = true;
  Answer updated;
  harness.stream->updateConfiguration(configuration, updated.completion());
  ASSERT_TRUE(harness.recorder->waitForColour(100, 100, green));
  const auto frame = harness.recorder->frames().back();
  EXPECT_EQ(frame.colourAt(92, 92), green);
  EXPECT_EQ(frame.colourAt(107, 107), green);
  EXPECT_EQ(frame.colourAt(91, 100), amber);
  EXPECT_EQ(frame.colourAt(108, 100), amber);
}

TEST_P(StreamFrameTest, TheCursorLeavesNoTrail) {
  ASSERT_TRUE(captureCursorAt(50, 50));
  for (int x = 60; x <= 260; x += 40) {
    harness.painter.movePointer(x, 100);
    ASSERT_TRUE(harness.recorder->waitForColour(x, 100, green));
    const auto frame = harness.recorder->frames().back();
    EXPECT_EQ(frame.colourAt(50, 50), amber);
    EXPECT_EQ(frame.colourAt(x - 20, 100), amber);
  }
}

TEST_P(StreamFrameTest, NoticesThatThePointerWasPutElsewhere) {
  ASSERT_TRUE(captureCursorAt(50, 50));
  harness.painter.warpPointer(200, 150);
  ASSERT_TRUE(harness.recorder->waitForColour(200, 150, green));
  EXPECT_EQ(harness.recorder->frames().back().colourAt(50, 50), amber);
}

TEST_P(StreamFrameTest, NoticesThatTheCursorChangedItsLook) {
  ASSERT_TRUE(captureCursorAt(50, 50));
  harness.painter.setCursor(8, blue, 4);
  ASSERT_TRUE(harness.recorder->waitForColour(50, 50, blue));
  EXPECT_EQ(harness.recorder->frames().back().colourAt(43, 43), amber);
}

TEST_P(StreamFrameTest, ClipsTheCursorAtTheEdge) {
  ASSERT_TRUE(captureCursorAt(319, 239));
  harness.painter.movePointer(0, 0);
  ASSERT_TRUE(harness.recorder->waitForColour(0, 0, green));
  EXPECT_EQ(harness.recorder->frames().back().colourAt(319, 239), amber);
}

TEST_P(StreamFrameTest, ScalesTheCursorWithTheScreen) {
  showCursorAt(100, 100, 32);
  auto configuration = CaptureHarness::usualConfiguration();
  configuration.width = 160;
  configuration.height = 120;
  configuration.showsCursor = true;
  ASSERT_TRUE(harness.start(configuration));
  ASSERT_TRUE(harness.recorder->waitForColour(50, 50, green));
  const auto frame = harness.recorder->frames().back();
  EXPECT_TRUE(frame.isAbout(43, 50, green));
  EXPECT_TRUE(frame.isAbout(41, 50, amber));
  EXPECT_TRUE(frame.isAbout(58, 50, amber));
}

INSTANTIATE_TEST_SUITE_P(
    Servers, StreamFrameTest,
    testing::Values(std::vector<std::string>{}, std::vector<std::string>{"-extension", "MIT-SHM"},
                    std::vector<std::string>{"-extension", "DAMAGE"},
                    std::vector<std::string>{"-extension", "RANDR"},
                    std::vector<std::string>{"-extension", "MIT-SHM", "-extension", "DAMAGE"}));

TEST(StreamFrame, ConvertsTenBitsAColourToEight) {
  CaptureHarness harness({"-screen", "0", "320x240x30"});
  const std::uint32_t ones = 0x3ff;
  harness.painter.fill({0, 0, 100, 240}, ones << 20);
  harness.painter.fill({100, 0, 100, 240}, ones << 10);
  harness.painter.fill({200, 0, 120, 240}, ones);
  ASSERT_TRUE(harness.start(CaptureHarness::usualConfiguration()));
  ASSERT_TRUE(harness.recorder->waitForFrames(1));
  const auto frame = harness.recorder->frames().front();
  EXPECT_EQ(frame.colourAt(50, 100), red);
  EXPECT_EQ(frame.colourAt(150, 100), green);
  EXPECT_EQ(frame.colourAt(250, 100), blue);
  harness.painter.fill({0, 0, 320, 240}, ones << 10);
  EXPECT_TRUE(harness.recorder->waitForColour(250, 100, green));
}

// As some graphics drivers have them.
TEST(StreamFrame, ConvertsTenBitsAColourWithBlueHighest) {
  CaptureHarness harness({"-screen", "0", "320x240x30", "-extension", "MIT-SHM"},
                         CaptureHarness::Way::throughProxy);
  harness.proxy->exchangeRedAndBlue();
  const std::uint32_t ones = 0x3ff;
  harness.painter.fillAll(ones << 20);
  ASSERT_TRUE(harness.start(CaptureHarness::usualConfiguration()));
  EXPECT_TRUE(harness.recorder->waitForColour(250, 100, blue));
  harness.painter.fillAll(ones);
  EXPECT_TRUE(harness.recorder->waitForColour(250, 100, red));
}

TEST(StreamFrame, RefusesAScreenWithTooFewColours) {
  CaptureHarness harness({"-screen", "0", "320x240x16"});
  harness.makeStream(CaptureHarness::usualConfiguration());
  Answer started;
  harness.stream->startCapture(started.completion());
  ASSERT_TRUE(started.wait());
  ASSERT_TRUE(started.error());
  EXPECT_NE(started.error()->localizedDescription.find("depth of 16 bits"), std::string::npos);
}

}  // namespace
}  // namespace quorvin
