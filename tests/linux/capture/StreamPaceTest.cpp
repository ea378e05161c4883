#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <thread>

#include "tests/linux/capture/CaptureStand.h"

namespace quorvin {
namespace {

using std::chrono::milliseconds;

std::chrono::nanoseconds now() {
  return std::chrono::steady_clock::now().time_since_epoch();
}

// Changes the whole screen as fast as it can for as long as it lives.
class BusyPainter {
 public:
  explicit BusyPainter(const std::string& server)
      : thread([this, server] {
          ScreenPainter painter(server);
          for (std::uint32_t colour = 0; !ended; colour += 0x010305) {
            painter.fillAll(colour & 0xffffff);
          }
        }) {}
  BusyPainter(const BusyPainter&) = delete;
  BusyPainter& operator=(const BusyPainter&) = delete;
  ~BusyPainter() {
    ended = true;
    thread.join();
  }

 private:
  std::atomic<bool> ended = false;
  std::thread thread;
};

TEST(StreamPace, TheFirstSampleIsAFrameEvenIfNothingChanges) {
  CaptureStand stand;
  ASSERT_TRUE(stand.start(CaptureStand::usualConfiguration()));
  ASSERT_TRUE(stand.recorder->waitForSamples(1));
  EXPECT_TRUE(stand.recorder->samples().front().isComplete());
}

TEST(StreamPace, NeverExceedsTheConfiguredRate) {
  CaptureStand stand;
  const BusyPainter painter(stand.server.display());
  auto configuration = CaptureStand::usualConfiguration();
  configuration.minimumFrameInterval = {1, 50};
  ASSERT_TRUE(stand.start(configuration));
  ASSERT_TRUE(stand.recorder->waitForFrames(25));
  const auto frames = stand.recorder->frames();
  for (std::size_t i = 1; i < frames.size(); ++i) {
    EXPECT_GE(frames[i].time - frames[i - 1].time, milliseconds(20));
  }
}

TEST(StreamPace, AnUnchangedScreenBringsIdleSamplesAndNoWork) {
  CaptureStand stand;
  ASSERT_TRUE(stand.start(CaptureStand::usualConfiguration()));
  ASSERT_TRUE(stand.recorder->waitForFrames(1));
  const auto polls = stand.counters->polls.load();
  const auto fetched = stand.counters->fetchedBytes.load();
  ASSERT_TRUE(stand.recorder->waitForSamples(3));
  const auto samples = stand.recorder->samples();
  EXPECT_EQ(samples[1].status, frameStatusIdle);
  EXPECT_EQ(samples[1].size, PixelSize{});
  EXPECT_EQ(samples[2].status, frameStatusIdle);
  EXPECT_GE(samples[2].time - samples[1].time, std::chrono::seconds(1));
  EXPECT_EQ(stand.counters->polls, polls);
  EXPECT_EQ(stand.counters->fetchedBytes, fetched);
}

TEST(StreamPace, AnIsolatedChangeIsCapturedAtOnce) {
  CaptureStand stand;
  auto configuration = CaptureStand::usualConfiguration();
  configuration.minimumFrameInterval = {1, 1};
  ASSERT_TRUE(stand.start(configuration));
  // More often than once where others keep this process from running. What waited for the next idle
  // sample instead would take a second each time.
  auto quickest = std::chrono::nanoseconds::max();
  for (std::uint32_t colour = 1; colour <= 10 && quickest >= milliseconds(500); ++colour) {
    // After a frame and an idle sample, more than an interval has passed.
    ASSERT_TRUE(stand.recorder->waitForIdleSample());
    const auto painted = now();
    stand.painter.fillAll(colour * 0x111111);
    ASSERT_TRUE(stand.recorder->waitForColour(5, 5, colour * 0x111111));
    quickest = std::min(quickest, stand.recorder->frames().back().time - painted);
  }
  EXPECT_LT(quickest, milliseconds(500));
}

TEST(StreamPace, FetchesOnlyWhatChanged) {
  CaptureStand stand;
  stand.painter.fillAll(0x102030);
  auto configuration = CaptureStand::usualConfiguration();
  configuration.queueDepth = 1;
  ASSERT_TRUE(stand.start(configuration));
  ASSERT_TRUE(stand.recorder->waitForFrames(1));
  const auto whole = stand.counters->fetchedBytes.exchange(0);
  EXPECT_EQ(whole, 320U * 240 * 4);
  stand.painter.fill({10, 10, 8, 4}, 0xffffff);
  ASSERT_TRUE(stand.recorder->waitForColour(17, 13, 0xffffff));
  EXPECT_EQ(stand.counters->fetchedBytes.exchange(0), 8U * 4 * 4);
  stand.painter.fill({0, 100, 320, 6}, 0xffffff);
  ASSERT_TRUE(stand.recorder->waitForColour(319, 105, 0xffffff));
  EXPECT_EQ(stand.counters->fetchedBytes.exchange(0), 320U * 6 * 4);
}

TEST(StreamPace, FetchesNothingWhenOnlyThePointerMoves) {
  CaptureStand stand;
  stand.painter.fillAll(0x102030);
  stand.painter.setCursor(16, 0x00ff00, 8);
  stand.painter.movePointer(50, 50);
  auto configuration = CaptureStand::usualConfiguration();
  configuration.queueDepth = 1;
  configuration.showsCursor = true;
  ASSERT_TRUE(stand.start(configuration));
  ASSERT_TRUE(stand.recorder->waitForColour(50, 50, 0x00ff00));
  stand.counters->fetchedBytes = 0;
  stand.painter.movePointer(150, 150);
  ASSERT_TRUE(stand.recorder->waitForColour(150, 150, 0x00ff00));
  EXPECT_EQ(stand.counters->fetchedBytes, 0U);
}

TEST(StreamPace, ChangesElsewhereBringNoFrames) {
  CaptureStand stand;
  stand.painter.defineMonitor("left", {0, 0, 160, 240});
  auto configuration = CaptureStand::usualConfiguration();
  configuration.width = 160;
  ASSERT_TRUE(stand.start(configuration));
  ASSERT_TRUE(stand.recorder->waitForFrames(1));
  stand.painter.fill({200, 0, 50, 50}, 0xffffff);
  ASSERT_TRUE(stand.recorder->waitForSamples(2));
  EXPECT_EQ(stand.recorder->samples().back().status, frameStatusIdle);
}

TEST(StreamPace, HeldFramesStopTheStreamUntilOneIsReleased) {
  CaptureStand stand;
  auto configuration = CaptureStand::usualConfiguration();
  configuration.queueDepth = 2;
  configuration.minimumFrameInterval = {1, 200};
  stand.recorder->holdFrames();
  ASSERT_TRUE(stand.start(configuration));
  ASSERT_TRUE(stand.recorder->waitForFrames(1));
  stand.painter.fillAll(0x111111);
  ASSERT_TRUE(stand.recorder->waitForColour(0, 0, 0x111111));
  stand.painter.fill({0, 0, 100, 100}, 0x222222);
  stand.painter.fill({100, 100, 100, 100}, 0x333333);
  // The stream still shows that it is alive.
  ASSERT_TRUE(stand.recorder->waitForSamples(3));
  EXPECT_EQ(stand.recorder->frames().size(), 2U);
  EXPECT_EQ(stand.recorder->samples().back().status, frameStatusIdle);

  const auto released = now();
  stand.recorder->letFramesGo();
  ASSERT_TRUE(stand.recorder->waitForFrames(3));
  const auto frame = stand.recorder->frames().back();
  EXPECT_GE(frame.time, released);
  EXPECT_EQ(frame.colourAt(50, 50), 0x222222U);
  EXPECT_EQ(frame.colourAt(150, 150), 0x333333U);
  EXPECT_EQ(frame.colourAt(250, 50), 0x111111U);
}

TEST(StreamPace, FramesWaitingForAHandlerCountAsHeld) {
  CaptureStand stand;
  const BusyPainter painter(stand.server.display());
  auto configuration = CaptureStand::usualConfiguration();
  configuration.minimumFrameInterval = {1, 200};
  stand.queue->halt();
  ASSERT_TRUE(stand.start(configuration));
  // The fourth task is an idle sample, so there was time for many more frames.
  ASSERT_TRUE(stand.queue->waitForTasks(4, testPatience));
  const auto halted = now();
  stand.queue->resume();
  ASSERT_TRUE(stand.recorder->waitForFrames(4));
  const auto samples = stand.recorder->samples();
  EXPECT_EQ(samples[3].status, frameStatusIdle);
  const auto frames = stand.recorder->frames();
  EXPECT_LT(frames[2].time, halted);
  EXPECT_GE(frames[3].time, halted);
}

}  // namespace
}  // namespace quorvin
