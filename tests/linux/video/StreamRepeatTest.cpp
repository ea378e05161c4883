#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <memory>
#include <thread>
#include <vector>

#include "tests/linux/capture/CaptureStand.h"
#include "tests/linux/video/EncoderStand.h"

namespace quorvin {
namespace {

using namespace std::chrono_literals;

// Does to the pictures of a stream what an encoder may: asks for each once more.
class AskingOutput final : public StreamOutput {
 public:
  explicit AskingOutput(std::chrono::nanoseconds after) : after(after) {}

  void streamDidOutputSample(const CaptureSample& sample, StreamOutputType type) override {
    if (const auto picture = std::dynamic_pointer_cast<CapturedPixelBuffer>(sample.imageBuffer())) {
      repeats.push_back(picture->isRepeat());
      if (!picture->isRepeat()) picture->askForRepeat(after);
    }
    recorder.streamDidOutputSample(sample, type);
  }

  SampleRecorder recorder;
  std::vector<bool> repeats;  // the queue's thread

 private:
  std::chrono::nanoseconds after;
};

// A running capture with that output.
class RepeatStand {
 public:
  explicit RepeatStand(std::chrono::nanoseconds after)
      : output(std::make_shared<AskingOutput>(after)) {
    stand.painter.fillAll(0x336699);
    stand.stream =
        stand.capture.makeStream({stand.displays().at(0)}, CaptureStand::usualConfiguration(), {});
    EXPECT_FALSE(stand.stream->addStreamOutput(output, StreamOutputType::screen, stand.queue));
    stand.stream->startCapture({});
  }

  CaptureStand stand;
  std::shared_ptr<AskingOutput> output;
};

TEST(StreamRepeat, APictureThatIsAskedForComesOnceMoreAsACompleteSample) {
  RepeatStand repeat(300ms);
  auto& recorder = repeat.output->recorder;
  ASSERT_TRUE(recorder.waitForPictures(2));
  const auto fetched = repeat.stand.counters->fetchedBytes.load();
  const auto pictures = recorder.pictures();
  EXPECT_TRUE(pictures[1].isComplete());
  EXPECT_GE(pictures[1].time - pictures[0].time, 300ms);
  EXPECT_EQ(pictures[1].pixels, pictures[0].pixels);
  // Then come idle samples and nothing else.
  ASSERT_TRUE(recorder.waitForSamples(4));
  EXPECT_EQ(recorder.pictures().size(), 2U);
  EXPECT_EQ(repeat.stand.counters->fetchedBytes, fetched);
  repeat.stand.drainQueue();
  EXPECT_EQ(repeat.output->repeats, (std::vector{false, true}));
}

TEST(StreamRepeat, AChangeTakesThePlaceOfARepetition) {
  RepeatStand repeat(1h);
  auto& recorder = repeat.output->recorder;
  ASSERT_TRUE(recorder.waitForPictures(1));
  repeat.stand.painter.fill({0, 0, 10, 10}, 0xFFFFFF);
  ASSERT_TRUE(recorder.waitForColour(5, 5, 0xFFFFFF));
  // An idle sample comes a second after the last picture.
  ASSERT_TRUE(recorder.waitForSamples(3));
  EXPECT_EQ(recorder.pictures().size(), 2U);
  EXPECT_EQ(recorder.samples().back().status, frameStatusIdle);
}

TEST(StreamRepeat, OnlyTheLastOfASequenceIsRepeated) {
  RepeatStand repeat(600ms);
  auto& recorder = repeat.output->recorder;
  for (std::size_t i = 0; i < 10; ++i) {
    const auto colour = static_cast<std::uint32_t>(0x101010 * (i + 1));
    repeat.stand.painter.fillAll(colour);
    ASSERT_TRUE(recorder.waitForColour(0, 0, colour));
  }
  // Whether the machine was quick enough for each to count as one of the sequence or not: never
  // two in a row, and the end is one.
  ASSERT_TRUE(recorder.waitFor([](const std::vector<RecordedSample>& samples) {
    return !samples.empty() && samples.back().status == frameStatusIdle;
  }));
  repeat.stand.drainQueue();
  const auto& repeats = repeat.output->repeats;
  EXPECT_TRUE(repeats.back());
  EXPECT_EQ(std::ranges::adjacent_find(repeats, [](bool a, bool b) { return a && b; }),
            repeats.end());
}

TEST(StreamRepeat, ARepetitionWaitsForASurfaceWithoutTurningInCircles) {
  RepeatStand repeat(10ms);
  repeat.output->recorder.holdPictures();
  for (const std::uint32_t colour : {0x111111U, 0x222222U, 0x333333U}) {
    repeat.stand.painter.fillAll(colour);
  }
  ASSERT_TRUE(repeat.output->recorder.waitFor([](const std::vector<RecordedSample>& samples) {
    return !samples.empty() && samples.back().status == frameStatusIdle;
  }));
  EXPECT_LE(repeat.output->recorder.pictures().size(), 3U);
  EXPECT_LE(repeat.stand.counters->looks, 20U);
  repeat.output->recorder.letPicturesGo();
}

}  // namespace
}  // namespace quorvin
