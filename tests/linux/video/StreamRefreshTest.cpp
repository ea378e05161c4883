#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <thread>
#include <vector>

#include "tests/linux/capture/CaptureHarness.h"
#include "tests/linux/video/EncoderHarness.h"

namespace quorvin {
namespace {

using namespace std::chrono_literals;

// Does to the frames of a stream what an encoder may: asks for each once more.
class AskingOutput final : public StreamOutput {
 public:
  explicit AskingOutput(std::chrono::nanoseconds after) : after(after) {}

  void streamDidOutputSample(const CaptureSample& sample, StreamOutputType type) override {
    if (const auto frame = std::dynamic_pointer_cast<CapturedFrame>(sample.imageBuffer())) {
      repeats.push_back(frame->isRefresh());
      if (!frame->isRefresh()) frame->requestRefresh(after);
    }
    recorder.streamDidOutputSample(sample, type);
  }

  SampleRecorder recorder;
  std::vector<bool> repeats;  // the queue's thread

 private:
  std::chrono::nanoseconds after;
};

// A running capture with that output.
class RefreshHarness {
 public:
  explicit RefreshHarness(std::chrono::nanoseconds after)
      : output(std::make_shared<AskingOutput>(after)) {
    harness.painter.fillAll(0x336699);
    harness.stream = harness.capture.makeStream({harness.displays().at(0)},
                                                CaptureHarness::usualConfiguration(), {});
    EXPECT_FALSE(harness.stream->addStreamOutput(output, StreamOutputType::screen, harness.queue));
    harness.stream->startCapture({});
  }

  CaptureHarness harness;
  std::shared_ptr<AskingOutput> output;
};

TEST(StreamRefresh, AFrameThatIsAskedForComesOnceMoreAsACompleteSample) {
  RefreshHarness refresh(300ms);
  auto& recorder = refresh.output->recorder;
  ASSERT_TRUE(recorder.waitForFrames(2));
  const auto fetched = refresh.harness.counters->fetchedBytes.load();
  const auto frames = recorder.frames();
  EXPECT_TRUE(frames[1].isComplete());
  EXPECT_GE(frames[1].time - frames[0].time, 300ms);
  EXPECT_EQ(frames[1].pixels, frames[0].pixels);
  // Then come idle samples and nothing else.
  ASSERT_TRUE(recorder.waitForSamples(4));
  EXPECT_EQ(recorder.frames().size(), 2U);
  EXPECT_EQ(refresh.harness.counters->fetchedBytes, fetched);
  refresh.harness.drainQueue();
  EXPECT_EQ(refresh.output->repeats, (std::vector{false, true}));
}

TEST(StreamRefresh, AChangeTakesThePlaceOfARefresh) {
  RefreshHarness refresh(1h);
  auto& recorder = refresh.output->recorder;
  ASSERT_TRUE(recorder.waitForFrames(1));
  refresh.harness.painter.fill({0, 0, 10, 10}, 0xFFFFFF);
  ASSERT_TRUE(recorder.waitForColour(5, 5, 0xFFFFFF));
  // An idle sample comes a second after the last frame.
  ASSERT_TRUE(recorder.waitForSamples(3));
  EXPECT_EQ(recorder.frames().size(), 2U);
  EXPECT_EQ(recorder.samples().back().status, frameStatusIdle);
}

TEST(StreamRefresh, OnlyTheLastOfASequenceIsRefreshed) {
  RefreshHarness refresh(600ms);
  auto& recorder = refresh.output->recorder;
  for (std::size_t i = 0; i < 10; ++i) {
    const auto colour = static_cast<std::uint32_t>(0x101010 * (i + 1));
    refresh.harness.painter.fillAll(colour);
    ASSERT_TRUE(recorder.waitForColour(0, 0, colour));
  }
  // Whether the machine was quick enough for each to count as one of the sequence or not: never
  // two in a row, and the end is one.
  ASSERT_TRUE(recorder.waitFor([](const std::vector<RecordedSample>& samples) {
    return !samples.empty() && samples.back().status == frameStatusIdle;
  }));
  refresh.harness.drainQueue();
  const auto& repeats = refresh.output->repeats;
  EXPECT_TRUE(repeats.back());
  EXPECT_EQ(std::ranges::adjacent_find(repeats, [](bool a, bool b) { return a && b; }),
            repeats.end());
}

TEST(StreamRefresh, ARepetitionWaitsForASurfaceWithoutTurningInCircles) {
  RefreshHarness refresh(10ms);
  refresh.output->recorder.holdFrames();
  for (const std::uint32_t colour : {0x111111U, 0x222222U, 0x333333U}) {
    refresh.harness.painter.fillAll(colour);
  }
  ASSERT_TRUE(refresh.output->recorder.waitFor([](const std::vector<RecordedSample>& samples) {
    return !samples.empty() && samples.back().status == frameStatusIdle;
  }));
  EXPECT_LE(refresh.output->recorder.frames().size(), 3U);
  EXPECT_LE(refresh.harness.counters->polls, 20U);
  refresh.output->recorder.letFramesGo();
}

}  // namespace
}  // namespace quorvin
