#include "tests/macos/backend/CaptureFixture.h"

namespace quorvin {
namespace {

using standin::CaptureRequest;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

const auto* const startRequest = "-[SCStream startCaptureWithCompletionHandler:]";
const auto* const stopRequest = "-[SCStream stopCaptureWithCompletionHandler:]";
const auto* const updateRequest = "-[SCStream updateConfiguration:completionHandler:]";

std::optional<Error> failure() { return Error("com.example.failure", 42, "It failed."); }

standin::ErrorScript scriptedFailure() { return {"com.example.failure", 42, "It failed."}; }

class ScreenStreamTest : public CaptureTest {};
class ScreenStreamDeathTest : public CaptureDeathTest {};

// ---- outputs ----

TEST_F(ScreenStreamTest, AddsItsOutputWithTheQueueThatItWasGiven) {
  const auto output = std::make_shared<RecordingOutput>();
  const auto stream = makeStream();
  EXPECT_EQ(stream->addStreamOutput(output, StreamOutputType::screen, makeQueue()), std::nullopt);
  const auto added = standin::callsOf("-[SCStream addStreamOutput:type:sampleHandlerQueue:error:]");
  ASSERT_THAT(added, SizeIs(1));
  EXPECT_THAT(added[0].arguments, ElementsAre("0", queueLabel));
}

TEST_F(ScreenStreamTest, ReturnsTheErrorOfAnOutputThatCannotBeAdded) {
  const auto output = std::make_shared<RecordingOutput>();
  const auto stream = makeStream();
  standin::failNext(CaptureRequest::addOutput, scriptedFailure());
  EXPECT_EQ(stream->addStreamOutput(output, StreamOutputType::screen, makeQueue()), failure());
}

TEST_F(ScreenStreamTest, KnowsItsOutputWeakly) {
  auto output = std::make_shared<RecordingOutput>();
  const auto stream = makeRunningStream(output);
  EXPECT_EQ(output.use_count(), 1);
  output.reset();
  EXPECT_TRUE(newestStream()->sendSample({}));
  standin::settle();
  EXPECT_EQ(newestStream()->framesHeld(), 0);
}

TEST_F(ScreenStreamTest, DeliversSamplesOnTheOutputsQueue) {
  const auto output = std::make_shared<RecordingOutput>();
  const auto stream = makeRunningStream(output);
  EXPECT_TRUE(newestStream()->sendSample({.presentationTimeStamp = CMTimeMake(90, 600)}));
  EXPECT_TRUE(newestStream()->sendSample({.isValid = false}));
  standin::settle();
  const auto received = output->received();
  ASSERT_THAT(received, SizeIs(2));
  EXPECT_TRUE(received[0].isValid);
  EXPECT_EQ(received[0].attachments, 1);
  EXPECT_EQ(received[0].time, (MediaTime{90, 600}));
  EXPECT_EQ(received[0].type, StreamOutputType::screen);
  EXPECT_EQ(received[0].queue, queueLabel);
  EXPECT_FALSE(received[1].isValid);
}

TEST_F(ScreenStreamTest, TellsTheTypesOfSamplesApart) {
  const auto output = std::make_shared<RecordingOutput>();
  const auto stream = makeStream();
  for (const auto type :
       {StreamOutputType::screen, StreamOutputType::audio, StreamOutputType::microphone}) {
    EXPECT_EQ(stream->addStreamOutput(output, type, makeQueue()), std::nullopt);
  }
  stream->startCapture({});
  for (const auto type : {0, 1, 2}) {
    EXPECT_TRUE(newestStream()->sendSample({.type = static_cast<SCStreamOutputType>(type)}));
    standin::settle();
  }
  const auto received = output->received();
  ASSERT_THAT(received, SizeIs(3));
  EXPECT_EQ(received[0].type, StreamOutputType::screen);
  EXPECT_EQ(received[1].type, StreamOutputType::audio);
  EXPECT_EQ(received[2].type, StreamOutputType::microphone);
}

TEST_F(ScreenStreamTest, DeliversNothingWhileAsManyFramesAreHeldAsTheQueueIsDeep) {
  const auto output = std::make_shared<RecordingOutput>();
  output->keepFrames();
  const auto stream = makeRunningStream(output);
  for (int sample = 0; sample < 3; ++sample) {
    EXPECT_TRUE(newestStream()->sendSample({}));
    standin::settle();
  }
  EXPECT_EQ(newestStream()->framesHeld(), 3);
  EXPECT_FALSE(newestStream()->sendSample({}));
  output->takeFrames().clear();
  EXPECT_EQ(newestStream()->framesHeld(), 0);
  EXPECT_TRUE(newestStream()->sendSample({}));
}

TEST_F(ScreenStreamTest, LeavesFramesWithWhomeverHoldsThem) {
  const auto output = std::make_shared<RecordingOutput>();
  output->keepFrames();
  auto stream = makeRunningStream(output);
  EXPECT_TRUE(newestStream()->sendSample({}));
  standin::settle();
  stream.reset();
  const auto frames = output->takeFrames();
  ASSERT_THAT(frames, SizeIs(1));
  EXPECT_EQ(frames[0]->widthPx(), 64);
  EXPECT_EQ(frames[0]->heightPx(), 48);
}

TEST_F(ScreenStreamDeathTest, RefusesAQueueOfAnotherMaker) {
  const auto stream = makeStream();
  EXPECT_DEATH(
      (void)stream->addStreamOutput({}, StreamOutputType::screen, std::make_shared<ForeignQueue>()),
      "another maker");
}

// ---- starting and stopping ----

TEST_F(ScreenStreamTest, TellsWhenItHasStarted) {
  const auto stream = makeStream();
  Answers started;
  stream->startCapture(started.completion());
  standin::settle();
  EXPECT_TRUE(newestStream()->isRunning());
  EXPECT_THAT(started.given(), ElementsAre(std::nullopt));
  EXPECT_EQ(started.onMainThread(), 0);
  EXPECT_EQ(started.heldCompletions(), 0);
}

TEST_F(ScreenStreamTest, TellsWhyItCouldNotStart) {
  const auto stream = makeStream();
  standin::failNext(CaptureRequest::start, scriptedFailure());
  Answers started;
  stream->startCapture(started.completion());
  standin::settle();
  EXPECT_THAT(started.given(), ElementsAre(failure()));
  EXPECT_FALSE(newestStream()->isRunning());
}

TEST_F(ScreenStreamTest, StartsWithoutAnybodyWhoWantsToKnow) {
  const auto stream = makeStream();
  stream->startCapture({});
  const auto starts = standin::callsOf(startRequest);
  ASSERT_THAT(starts, SizeIs(1));
  EXPECT_THAT(starts[0].arguments, ElementsAre("given")) << "the stream itself wants to know";
  EXPECT_TRUE(newestStream()->isRunning());
}

TEST_F(ScreenStreamTest, PassesOnThatItRunsAlready) {
  const auto stream = makeStream();
  Answers started;
  stream->startCapture(started.completion());
  stream->startCapture(started.completion());
  standin::settle();
  const auto answers = started.given();
  ASSERT_THAT(answers, SizeIs(2));
  // Both came on threads of their own, in whatever order.
  const auto& refused = answers[0] ? answers[0] : answers[1];
  ASSERT_TRUE(refused);
  EXPECT_EQ(refused->domain, capture.streamErrorDomain());
  EXPECT_EQ(refused->code, SCStreamErrorAttemptToStartStreamState);
  EXPECT_THAT(standin::requestsInWrongState(), ElementsAre(startRequest));
}

TEST_F(ScreenStreamTest, TellsWhenItHasStopped) {
  const auto stream = makeRunningStream(std::make_shared<RecordingOutput>());
  Answers stopped;
  stream->stopCapture(stopped.completion());
  standin::settle();
  EXPECT_FALSE(newestStream()->isRunning());
  EXPECT_THAT(stopped.given(), ElementsAre(std::nullopt));
  EXPECT_EQ(stopped.heldCompletions(), 0);
}

TEST_F(ScreenStreamTest, StopsWithoutAnybodyWhoWantsToKnow) {
  const auto stream = makeRunningStream(std::make_shared<RecordingOutput>());
  stream->stopCapture({});
  const auto stops = standin::callsOf(stopRequest);
  ASSERT_THAT(stops, SizeIs(1));
  EXPECT_THAT(stops[0].arguments, ElementsAre("nil"));
  EXPECT_FALSE(newestStream()->isRunning());
  EXPECT_TRUE(newestStream()->isAlive());
}

TEST_F(ScreenStreamTest, StopsOnAnyThread) {
  const auto stream = makeRunningStream(std::make_shared<RecordingOutput>());
  Answers stopped;
  makeQueue()->async([&] { stream->stopCapture(stopped.completion()); });
  standin::settle();
  EXPECT_THAT(stopped.given(), ElementsAre(std::nullopt));
  const auto stops = standin::callsOf(stopRequest);
  ASSERT_THAT(stops, SizeIs(1));
  EXPECT_EQ(stops[0].queue, queueLabel);
}

TEST_F(ScreenStreamTest, PassesOnThatThereIsNothingToStop) {
  const auto stream = makeStream();
  Answers stopped;
  stream->stopCapture(stopped.completion());
  standin::settle();
  const auto answers = stopped.given();
  ASSERT_THAT(answers, SizeIs(1));
  ASSERT_TRUE(answers[0]);
  EXPECT_EQ(answers[0]->code, SCStreamErrorAttemptToStopStreamState);
}

TEST_F(ScreenStreamTest, TellsWhyItCouldNotStop) {
  const auto stream = makeRunningStream(std::make_shared<RecordingOutput>());
  standin::failNext(CaptureRequest::stop, scriptedFailure());
  Answers stopped;
  stream->stopCapture(stopped.completion());
  standin::settle();
  EXPECT_THAT(stopped.given(), ElementsAre(failure()));
  stream->stopCapture({});
}

// ---- reconfiguring ----

TEST_F(ScreenStreamTest, TakesANewConfigurationWhileItRuns) {
  const auto stream = makeRunningStream(std::make_shared<RecordingOutput>());
  Answers updated;
  stream->updateConfiguration({.width = 320,
                               .height = 200,
                               .minimumFrameInterval = {1, 15},
                               .queueDepth = 8,
                               .showsCursor = false,
                               .pixelFormat = pixelFormat32BGRA},
                              updated.completion());
  standin::settle();
  EXPECT_THAT(updated.given(), ElementsAre(std::nullopt));
  EXPECT_EQ(updated.heldCompletions(), 0);
  const auto settings = newestStream()->settings();
  ASSERT_THAT(settings, SizeIs(2));
  EXPECT_EQ(settings[1], (standin::StreamSettings{.width = 320,
                                                  .height = 200,
                                                  .intervalValue = 1,
                                                  .intervalTimescale = 15,
                                                  .queueDepth = 8,
                                                  .showsCursor = false}));
}

TEST_F(ScreenStreamTest, TellsWhyItCouldNotBeReconfigured) {
  const auto stream = makeRunningStream(std::make_shared<RecordingOutput>());
  standin::failNext(CaptureRequest::update, scriptedFailure());
  Answers updated;
  stream->updateConfiguration(configuration, updated.completion());
  standin::settle();
  EXPECT_THAT(updated.given(), ElementsAre(failure()));
  EXPECT_THAT(newestStream()->settings(), SizeIs(1));
}

TEST_F(ScreenStreamTest, PassesOnThatAStoppedStreamCannotBeReconfigured) {
  const auto stream = makeRunningStream(std::make_shared<RecordingOutput>());
  stream->stopCapture({});
  Answers updated;
  stream->updateConfiguration(configuration, updated.completion());
  standin::settle();
  const auto answers = updated.given();
  ASSERT_THAT(answers, SizeIs(1));
  ASSERT_TRUE(answers[0]);
  EXPECT_EQ(answers[0]->code, SCStreamErrorAttemptToConfigState);
  EXPECT_THAT(standin::requestsInWrongState(), ElementsAre(updateRequest));
}

// ---- the end that the system decides ----

TEST_F(ScreenStreamTest, ReportsThatTheSystemEndedIt) {
  const auto delegate = std::make_shared<RecordingDelegate>();
  const auto stream = makeRunningStream(std::make_shared<RecordingOutput>(), delegate);
  newestStream()->stopWithError(standin::streamError(SCStreamErrorUserStopped, "Enough."));
  standin::settle();
  EXPECT_THAT(delegate->reported(),
              ElementsAre(Error(capture.streamErrorDomain(), -3817, "Enough.")));
}

TEST_F(ScreenStreamTest, ReportsItsEndToNobodyWhenTheDelegateIsGone) {
  auto delegate = std::make_shared<RecordingDelegate>();
  const auto stream = makeRunningStream(std::make_shared<RecordingOutput>(), delegate);
  EXPECT_EQ(delegate.use_count(), 1);
  delegate.reset();
  newestStream()->stopWithError(standin::streamError(SCStreamErrorUserStopped));
  standin::settle();
  EXPECT_FALSE(newestStream()->isRunning());
}

TEST_F(ScreenStreamTest, ReportsNoEndOnceItHasBeenReleased) {
  const auto delegate = std::make_shared<RecordingDelegate>();
  auto stream = makeRunningStream(std::make_shared<RecordingOutput>(), delegate);
  stream.reset();
  standin::settle();  // until its stop is answered
  newestStream()->stopWithError(standin::streamError(SCStreamErrorUserStopped));
  standin::settle();
  EXPECT_THAT(delegate->reported(), IsEmpty());
}

// ---- release ----

TEST_F(ScreenStreamTest, IsStoppedWhenItIsReleasedWhileItRuns) {
  const auto output = std::make_shared<RecordingOutput>();
  auto stream = makeRunningStream(output);
  EXPECT_TRUE(newestStream()->isRunning());
  standin::holdAnswers();
  stream.reset();
  EXPECT_TRUE(newestStream()->isAlive()) << "until the stop is answered";
  EXPECT_FALSE(newestStream()->isRunning());
  standin::releaseAnswers();
  standin::settle();
  EXPECT_FALSE(newestStream()->isAlive());
  EXPECT_THAT(standin::callsOf(stopRequest), SizeIs(1));
}

TEST_F(ScreenStreamTest, IsStoppedOnceAndOnlyIfItMayRun) {
  makeStream().reset();
  auto stream = makeStream();
  standin::failNext(CaptureRequest::start, scriptedFailure());
  stream->startCapture({});
  standin::settle();
  stream.reset();
  EXPECT_THAT(standin::callsOf(stopRequest), IsEmpty());
  stream = makeRunningStream(std::make_shared<RecordingOutput>());
  stream->stopCapture({});
  stream.reset();
  standin::settle();
  EXPECT_THAT(standin::callsOf(stopRequest), SizeIs(1));
  stream = makeRunningStream(std::make_shared<RecordingOutput>());
  stream->startCapture({});  // which is refused
  standin::settle();
  stream.reset();
  standin::settle();
  EXPECT_THAT(standin::callsOf(stopRequest), SizeIs(2));
}

TEST_F(ScreenStreamTest, AnswersAStartAlthoughItWasReleasedMeanwhile) {
  auto stream = makeStream();
  standin::holdAnswers();
  Answers started;
  stream->startCapture(started.completion());
  stream.reset();
  standin::settle();
  EXPECT_THAT(started.given(), IsEmpty());

  standin::releaseAnswers();
  standin::settle();
  EXPECT_THAT(started.given(), ElementsAre(std::nullopt));
  EXPECT_EQ(started.heldCompletions(), 0);
  EXPECT_FALSE(newestStream()->isAlive());
}

TEST_F(ScreenStreamTest, AnswersEverythingThatIsOwedAfterItsRelease) {
  auto stream = makeRunningStream(std::make_shared<RecordingOutput>());
  standin::holdAnswers();
  Answers answers;
  stream->updateConfiguration(configuration, answers.completion());
  stream->stopCapture(answers.completion());
  stream.reset();
  for (std::size_t answered = 1; answered <= 2; ++answered) {
    EXPECT_TRUE(newestStream()->isAlive());
    standin::releaseOldestAnswer();
    standin::settle();
    EXPECT_THAT(answers.given(), SizeIs(answered));
  }
  EXPECT_FALSE(newestStream()->isAlive());
  EXPECT_THAT(answers.given(), ElementsAre(std::nullopt, std::nullopt));
}

TEST_F(ScreenStreamTest, KeepsItsOutputForSamplesThatWaitWhenItIsReleased) {
  const auto output = std::make_shared<RecordingOutput>();
  auto stream = makeRunningStream(output);
  standin::hold(queueLabel);
  EXPECT_TRUE(newestStream()->sendSample({}));
  stream.reset();
  standin::resume(queueLabel);
  standin::settle();
  EXPECT_THAT(output->received(), SizeIs(1));
}

TEST_F(ScreenStreamTest, KeepsItsOutputForASampleThatItsReleaseLeavesBehind) {
  const auto output = std::make_shared<RecordingOutput>();
  auto stream = makeRunningStream(output);
  newestStream()->leaveSampleBehind();
  stream->stopCapture({});
  standin::hold(queueLabel);
  stream.reset();
  EXPECT_FALSE(newestStream()->isAlive());
  standin::resume(queueLabel);
  standin::settle();
  EXPECT_THAT(output->received(), SizeIs(1));
}

// ---- a stop while the start is unanswered, which is refused ----

TEST_F(ScreenStreamTest, RepeatsARefusedStopWhenTheStartIsAnswered) {
  auto stream = makeStream();
  standin::holdAnswers();
  std::size_t stopsAtStart = 0;
  Answers stopped;
  stream->startCapture([&](const std::optional<Error>& error) {
    EXPECT_EQ(error, std::nullopt);
    stopsAtStart = standin::callsOf(stopRequest).size();
  });
  stream->stopCapture(stopped.completion());
  stream.reset();
  standin::releaseNewestAnswer();
  standin::settle();
  EXPECT_THAT(standin::callsOf(stopRequest), SizeIs(1));
  EXPECT_THAT(stopped.given(), IsEmpty());
  standin::releaseAnswers();
  standin::settle();
  EXPECT_EQ(stopsAtStart, 2) << "before anybody hears of the start";
  EXPECT_FALSE(newestStream()->isRunning());
  EXPECT_THAT(stopped.given(), ElementsAre(std::nullopt));
  EXPECT_EQ(stopped.heldCompletions(), 0);
  EXPECT_THAT(standin::callsOf(stopRequest), SizeIs(2));
}

TEST_F(ScreenStreamTest, RepeatsAStopWhoseRefusalComesAfterTheAnswerToTheStart) {
  const auto stream = makeStream();
  standin::holdAnswers();
  Answers started;
  stream->startCapture(started.completion());
  stream->stopCapture({});
  standin::releaseOldestAnswer();
  standin::settle();
  EXPECT_THAT(started.given(), ElementsAre(std::nullopt));
  EXPECT_THAT(standin::callsOf(stopRequest), SizeIs(1)) << "which nobody has refused yet";
  EXPECT_TRUE(newestStream()->isRunning());
  standin::releaseOldestAnswer();
  standin::settle();
  EXPECT_FALSE(newestStream()->isRunning());
  EXPECT_EQ(standin::heldAnswers(), 0) << "nobody asked to know";
  EXPECT_THAT(standin::callsOf(stopRequest), SizeIs(2));
}

TEST_F(ScreenStreamTest, RepeatsNoStopThatFailsForAnotherReason) {
  const auto stream = makeStream();
  standin::holdAnswers();
  standin::failNext(CaptureRequest::stop, scriptedFailure());
  Answers answers;
  stream->startCapture(answers.completion());
  stream->stopCapture(answers.completion());
  standin::releaseOldestAnswer();
  standin::settle();
  standin::releaseAnswers();
  standin::settle();
  EXPECT_THAT(answers.given(), ElementsAre(std::nullopt, failure()));
  EXPECT_THAT(standin::callsOf(stopRequest), SizeIs(1));
  stream->stopCapture({});
}

TEST_F(ScreenStreamTest, RepeatsNoStopOfAStreamWhoseStartWasAnswered) {
  const auto stream = makeRunningStream(std::make_shared<RecordingOutput>());
  standin::failNext(CaptureRequest::stop,
                    standin::streamError(SCStreamErrorAttemptToStopStreamState, "Too late."));
  Answers stopped;
  stream->stopCapture(stopped.completion());
  standin::settle();
  EXPECT_THAT(stopped.given(),
              ElementsAre(Error(capture.streamErrorDomain(), SCStreamErrorAttemptToStopStreamState,
                                "Too late.")));
  EXPECT_THAT(standin::callsOf(stopRequest), SizeIs(1));
  stream->stopCapture({});
}

}  // namespace
}  // namespace quorvin
