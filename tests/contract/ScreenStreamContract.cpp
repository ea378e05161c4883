#include <memory>
#include <optional>
#include <vector>

#include "tests/contract/Record.h"
#include "tests/contract/ScreenCaptureContract.h"

namespace quorvin::contract {

namespace {

const std::vector<std::optional<Error>> oneSuccess{std::nullopt};

}  // namespace

StreamConfiguration ScreenStreamContract::configurationOf(const FrameSize& size) {
  return {static_cast<std::int64_t>(size.width),
          static_cast<std::int64_t>(size.height),
          {1, 30},
          3,
          false,
          pixelFormat32BGRA};
}

void ScreenStreamContract::makeStream() {
  const Record<std::shared_ptr<const ShareableContent>> contents;
  world->screenCapture().getShareableContent(
      true, true, [=](auto content, const auto& /*error*/) { contents.add(std::move(content)); });
  ASSERT_TRUE(runUntil([&] { return contents.size() == 1; }));
  const auto content = contents.all()[0];
  ASSERT_NE(content, nullptr);
  ASSERT_FALSE(content->displays.empty());
  stream = world->screenCapture().makeStream({content->displays.front()},
                                             configurationOf(usualSize), delegate);
  ASSERT_EQ(stream->addStreamOutput(output, StreamOutputType::screen, queue), std::nullopt);
}

void ScreenStreamContract::startStream() {
  ASSERT_NO_FATAL_FAILURE(makeStream());
  const AnswerRecord started;
  stream->startCapture(noteAnswer(started));
  ASSERT_TRUE(runUntil([&] { return started.size() == 1; }));
  ASSERT_EQ(started.all(), oneSuccess);
}

void ScreenStreamContract::stopStream() {
  const AnswerRecord stopped;
  stream->stopCapture(noteAnswer(stopped));
  ASSERT_TRUE(runUntil([&] { return stopped.size() == 1; }));
  ASSERT_EQ(stopped.all(), oneSuccess);
}

void ScreenStreamContract::expectNewFrame(const FrameSize& size) {
  const auto known = output->framesOf(size);
  world->changeScreen();
  EXPECT_TRUE(runUntil([&] { return output->framesOf(size) > known; }));
}

void ScreenStreamContract::expectNoMoreSamples() {
  world->settle();
  const auto count = output->samples.size();
  world->changeScreen();
  world->settle();
  EXPECT_EQ(output->samples.size(), count);
}

TEST_P(ScreenStreamContract, AnswersStartAndStopOnce) {
  ASSERT_NO_FATAL_FAILURE(makeStream());
  const AnswerRecord started;
  const AnswerRecord stopped;
  stream->startCapture(noteAnswer(started));
  ASSERT_TRUE(runUntil([&] { return started.size() == 1; }));
  stream->stopCapture(noteAnswer(stopped));
  ASSERT_TRUE(runUntil([&] { return stopped.size() == 1; }));
  world->settle();
  EXPECT_EQ(started.all(), oneSuccess);
  EXPECT_EQ(stopped.all(), oneSuccess);
}

TEST_P(ScreenStreamContract, StopsWithoutACompletion) {
  ASSERT_NO_FATAL_FAILURE(startStream());
  stream->stopCapture({});
  expectNoMoreSamples();
}

TEST_P(ScreenStreamContract, BringsWholeFramesOnTheQueue) {
  ASSERT_NO_FATAL_FAILURE(startStream());
  expectNewFrame(usualSize);
  for (const auto& sample : output->samples.all()) {
    EXPECT_TRUE(sample.isOnQueue);
    EXPECT_EQ(sample.type, StreamOutputType::screen);
    if (!sample.isComplete()) continue;
    EXPECT_TRUE(sample.isValid);
    EXPECT_EQ(sample.frame, usualSize);
  }
}

TEST_P(ScreenStreamContract, BringsEveryChangeOfTheScreen) {
  ASSERT_NO_FATAL_FAILURE(startStream());
  for (int change = 0; change < 3; ++change) expectNewFrame(usualSize);
}

TEST_P(ScreenStreamContract, BringsFramesOfTheNewSizeAfterAnUpdate) {
  constexpr FrameSize newSize{160, 120};
  ASSERT_NO_FATAL_FAILURE(startStream());
  expectNewFrame(usualSize);
  const AnswerRecord updated;
  stream->updateConfiguration(configurationOf(newSize), noteAnswer(updated));
  ASSERT_TRUE(runUntil([&] { return updated.size() == 1; }));
  expectNewFrame(newSize);
  EXPECT_EQ(updated.all(), oneSuccess);
}

TEST_P(ScreenStreamContract, AnswersEachOfSeveralUpdatesOnce) {
  ASSERT_NO_FATAL_FAILURE(startStream());
  const AnswerRecord first;
  const AnswerRecord second;
  stream->updateConfiguration(configurationOf({160, 120}), noteAnswer(first));
  stream->updateConfiguration(configurationOf({80, 60}), noteAnswer(second));
  ASSERT_TRUE(runUntil([&] { return first.size() == 1 && second.size() == 1; }));
  expectNewFrame({80, 60});
  EXPECT_EQ(first.all(), oneSuccess);
  EXPECT_EQ(second.all(), oneSuccess);
}

TEST_P(ScreenStreamContract, MayBeStoppedOnAnyThread) {
  const AnswerRecord stopped;
  const auto isStopping = std::make_shared<bool>(false);
  ASSERT_NO_FATAL_FAILURE(makeStream());
  output->onSample = [=, watched = std::weak_ptr(stream)] {
    const auto running = watched.lock();
    if (running && !std::exchange(*isStopping, true)) running->stopCapture(noteAnswer(stopped));
  };
  stream->startCapture([](const auto& /*error*/) {});
  world->settle();
  world->changeScreen();
  ASSERT_TRUE(runUntil([&] { return stopped.size() == 1; }));
  EXPECT_EQ(stopped.all(), oneSuccess);
  expectNoMoreSamples();
}

TEST_P(ScreenStreamContract, TellsItsDelegateOnceThatTheSystemEndedIt) {
  ASSERT_NO_FATAL_FAILURE(startStream());
  world->endStreams();
  ASSERT_TRUE(runUntil([&] { return delegate->errors.size() == 1; }));
  EXPECT_EQ(delegate->errors.all()[0].domain, world->screenCapture().streamErrorDomain());
  EXPECT_FALSE(delegate->errors.all()[0].localizedDescription.empty());
  const AnswerRecord stopped;
  stream->stopCapture(noteAnswer(stopped));
  EXPECT_TRUE(runUntil([&] { return stopped.size() == 1; }));
  world->settle();
  EXPECT_EQ(delegate->errors.size(), 1U);
  EXPECT_EQ(stopped.size(), 1U);
}

TEST_P(ScreenStreamContract, TellsItsDelegateNothingOnceAStopHasCompleted) {
  ASSERT_NO_FATAL_FAILURE(startStream());
  ASSERT_NO_FATAL_FAILURE(stopStream());
  world->endStreams();
  world->settle();
  EXPECT_EQ(delegate->errors.size(), 0U);
}

TEST_P(ScreenStreamContract, DoesNothingForAnOutputThatIsGone) {
  ASSERT_NO_FATAL_FAILURE(startStream());
  const auto samples = output->samples;
  output.reset();
  world->settle();
  const auto count = samples.size();
  world->changeScreen();
  world->settle();
  EXPECT_EQ(samples.size(), count);
  stopStream();
}

TEST_P(ScreenStreamContract, DoesNothingForADelegateThatIsGone) {
  ASSERT_NO_FATAL_FAILURE(startStream());
  const auto errors = delegate->errors;
  delegate.reset();
  world->endStreams();
  world->settle();
  EXPECT_EQ(errors.size(), 0U);
}

TEST_P(ScreenStreamContract, KeepsNeitherItsOutputNorItsDelegate) {
  ASSERT_NO_FATAL_FAILURE(startStream());
  world->settle();
  const std::weak_ptr<SampleRecorder> watchedOutput = output;
  const std::weak_ptr<StopRecorder> watchedDelegate = delegate;
  output.reset();
  delegate.reset();
  EXPECT_TRUE(runUntil([&] { return watchedOutput.expired() && watchedDelegate.expired(); }));
}

TEST_P(ScreenStreamContract, StopsWhenItIsReleased) {
  ASSERT_NO_FATAL_FAILURE(startStream());
  expectNewFrame(usualSize);
  stream.reset();
  expectNoMoreSamples();
  EXPECT_EQ(delegate->errors.size(), 0U);
}

TEST_P(ScreenStreamContract, AnswersWhatWasAskedWhenItIsReleasedMeanwhile) {
  ASSERT_NO_FATAL_FAILURE(makeStream());
  const AnswerRecord started;
  stream->startCapture(noteAnswer(started));
  stream.reset();
  EXPECT_TRUE(runUntil([&] { return started.size() == 1; }));

  ASSERT_NO_FATAL_FAILURE(startStream());
  const AnswerRecord updated;
  const AnswerRecord stopped;
  stream->updateConfiguration(configurationOf({160, 120}), noteAnswer(updated));
  stream->stopCapture(noteAnswer(stopped));
  stream.reset();
  EXPECT_TRUE(runUntil([&] { return updated.size() == 1 && stopped.size() == 1; }));
  world->settle();
  EXPECT_EQ(started.size(), 1U);
  EXPECT_EQ(updated.size(), 1U);
  EXPECT_EQ(stopped.size(), 1U);
}

TEST_P(ScreenStreamContract, LeavesItsFramesToThoseWhoHoldThem) {
  ASSERT_NO_FATAL_FAILURE(makeStream());
  output->frames = std::make_unique<Record<std::shared_ptr<PixelBuffer>>>();
  const auto frames = *output->frames;
  stream->startCapture([](const auto& /*error*/) {});
  world->settle();
  world->changeScreen();
  ASSERT_TRUE(runUntil([&] { return frames.size() >= 1; }));
  stream.reset();
  world->settle();
  EXPECT_EQ(frames.all()[0]->widthPx(), usualSize.width);
  EXPECT_EQ(frames.all()[0]->heightPx(), usualSize.height);
}

}  // namespace quorvin::contract
