#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <thread>

#include "tests/linux/capture/CaptureHarness.h"

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
  CaptureHarness harness;
  ASSERT_TRUE(harness.start(CaptureHarness::usualConfiguration()));
  ASSERT_TRUE(harness.recorder->waitForSamples(1));
  EXPECT_TRUE(harness.recorder->samples().front().isComplete());
}

TEST(StreamPace, NeverExceedsTheConfiguredRate) {
  CaptureHarness harness;
  const BusyPainter painter(harness.server.display());
  auto configuration = CaptureHarness::usualConfiguration();
  configuration.minimumFrameInterval = {1, 50};
  ASSERT_TRUE(harness.start(configuration));
  ASSERT_TRUE(harness.recorder->waitForFrames(25));
  const auto frames = harness.recorder->frames();
  for (std::size_t i = 1; i < frames.size(); ++i) {
    EXPECT_GE(frames[i].time - frames[i - 1].time, milliseconds(20));
  }
}

TEST(StreamPace, AnUnchangedScreenBringsIdleSamplesAndNoWork) {
  CaptureHarness harness;
  ASSERT_TRUE(harness.start(CaptureHarness::usualConfiguration()));
  ASSERT_TRUE(harness.recorder->waitForFrames(1));
  const auto polls = harness.counters->polls.load();
  const auto fetched = harness.counters->fetchedBytes.load();
  ASSERT_TRUE(harness.recorder->waitForSamples(3));
  const auto samples = harness.recorder->samples();
  EXPECT_EQ(samples[1].status, frameStatusIdle);
  EXPECT_EQ(samples[1].size, PixelSize{});
  EXPECT_EQ(samples[2].status, frameStatusIdle);
  EXPECT_GE(samples[2].time - samples[1].time, std::chrono::seconds(1));
  EXPECT_EQ(harness.counters->polls, polls);
  EXPECT_EQ(harness.counters->fetchedBytes, fetched);
}

TEST(StreamPace, AnIsolatedChangeIsCapturedAtOnce) {
  CaptureHarness harness;
  auto configuration = CaptureHarness::usualConfiguration();
  configuration.minimumFrameInterval = {1, 1};
  ASSERT_TRUE(harness.start(configuration));
  // More often than once where others keep this process from running. What waited for the next idle
  // sample instead would take a second each time.
  auto quickest = std::chrono::nanoseconds::max();
  for (std::uint32_t colour = 1; colour <= 10 && quickest >= milliseconds(500); ++colour) {
    // After a frame and an idle sample, more than an interval has passed.
    ASSERT_TRUE(harness.recorder->waitForIdleSample());
    const auto painted = now();
    harness.painter.fillAll(colour * 0x111111);
    ASSERT_TRUE(harness.recorder->waitForColour(5, 5, colour * 0x111111));
    quickest = std::min(quickest, harness.recorder->frames().back().time - painted);
  }
  EXPECT_LT(quickest, milliseconds(500));
}

TEST(StreamPace, FetchesOnlyWhatChanged) {
  CaptureHarness harness;
  harness.painter.fillAll(0x102030);
  auto configuration = CaptureHarness::usualConfiguration();
  configuration.queueDepth = 1;
  ASSERT_TRUE(harness.start(configuration));
  ASSERT_TRUE(harness.recorder->waitForFrames(1));
  const auto whole = harness.counters->fetchedBytes.exchange(0);
  EXPECT_EQ(whole, 320U * 240 * 4);
  harness.painter.fill({10, 10, 8, 4}, 0xffffff);
  ASSERT_TRUE(harness.recorder->waitForColour(17, 13, 0xffffff));
  EXPECT_EQ(harness.counters->fetchedBytes.exchange(0), 8U * 4 * 4);
  harness.painter.fill({0, 100, 320, 6}, 0xffffff);
  ASSERT_TRUE(harness.recorder->waitForColour(319, 105, 0xffffff));
  EXPECT_EQ(harness.counters->fetchedBytes.exchange(0), 320U * 6 * 4);
}

TEST(StreamPace, FetchesNothingWhenOnlyThePointerMoves) {
  CaptureHarness harness;
  harness.painter.fillAll(0x102030);
  harness.painter.setCursor(16, 0x00ff00, 8);
  harness.painter.movePointer(50, 50);
  auto configuration = CaptureHarness::usualConfiguration();
  configuration.queueDepth = 1;
  configuration.showsCursor = true;
  ASSERT_TRUE(harness.start(configuration));
  ASSERT_TRUE(harness.recorder->waitForColour(50, 50, 0x00ff00));
  harness.counters->fetchedBytes = 0;
  harness.painter.movePointer(150, 150);
  ASSERT_TRUE(harness.recorder->waitForColour(150, 150, 0x00ff00));
  EXPECT_EQ(harness.counters->fetchedBytes, 0U);
}

TEST(StreamPace, ChangesElsewhereBringNoFrames) {
  CaptureHarness harness;
  harness.painter.defineMonitor("left", {0, 0, 160, 240});
  auto configuration = CaptureHarness::usualConfiguration();
  configuration.width = 160;
  ASSERT_TRUE(harness.start(configuration));
  ASSERT_TRUE(harness.recorder->waitForFrames(1));
  harness.painter.fill({200, 0, 50, 50}, 0xffffff);
  ASSERT_TRUE(harness.recorder->waitForSamples(2));
  EXPECT_EQ(harness.recorder->samples().back().status, frameStatusIdle);
}

TEST(StreamPace, HeldFramesStopTheStreamUntilOneIsReleased) {
  CaptureHarness harness;
  auto configuration = CaptureHarness::usualConfiguration();
  configuration.queueDepth = 2;
  configuration.minimumFrameInterval = {1, 200};
  harness.recorder->holdFrames();
  ASSERT_TRUE(harness.start(configuration));
  ASSERT_TRUE(harness.recorder->waitForFrames(1));
  harness.painter.fillAll(0x111111);
  ASSERT_TRUE(harness.recorder->waitForColour(0, 0, 0x111111));
  harness.painter.fill({0, 0, 100, 100}, 0x222222);
  harness.painter.fill({100, 100, 100, 100}, 0x333333);
  // The stream still shows that it is alive.
  ASSERT_TRUE(harness.recorder->waitForSamples(3));
  EXPECT_EQ(harness.recorder->frames().size(), 2U);
  EXPECT_EQ(harness.recorder->samples().back().status, frameStatusIdle);

  const auto released = now();
  harness.recorder->letFramesGo();
  ASSERT_TRUE(harness.recorder->waitForFrames(3));
  const auto frame = harness.recorder->frames().back();
  EXPECT_GE(frame.time, released);
  EXPECT_EQ(frame.colourAt(50, 50), 0x222222U);
  EXPECT_EQ(frame.colourAt(150, 150), 0x333333U);
  EXPECT_EQ(frame.colourAt(250, 50), 0x111111U);
}

TEST(StreamPace, FramesWaitingForAHandlerCountAsHeld) {
  CaptureHarness harness;
  const BusyPainter painter(harness.server.display());
  auto configuration = CaptureHarness::usualConfiguration();
  configuration.minimumFrameInterval = {1, 200};
  harness.queue->halt();
  ASSERT_TRUE(harness.start(configuration));
  // The fourth task is an idle sample, so there was time for many more frames.
  ASSERT_TRUE(harness.queue->waitForTasks(4, testTimeout));
  const auto halted = now();
  harness.queue->resume();
  ASSERT_TRUE(harness.recorder->waitForFrames(4));
  const auto samples = harness.recorder->samples();
  EXPECT_EQ(samples[3].status, frameStatusIdle);
  const auto frames = harness.recorder->frames();
  EXPECT_LT(frames[2].time, halted);
  EXPECT_GE(frames[3].time, halted);
}

}  // namespace
}  // namespace quorvin
