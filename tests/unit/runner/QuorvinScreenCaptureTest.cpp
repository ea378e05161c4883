#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <optional>

#include "tests/unit/runner/ScreenCaptureTest.h"

namespace quorvin {
namespace {

using fakes::FakeDisplay;
using fakes::FakeImageEncoder;
using fakes::FakeSample;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::uint64_t second = 1'000'000'000;

TEST(ScreenCaptureDeathTest, HasNoParameterlessInitializer) {
  EXPECT_DEATH(QuorvinScreenCapture(),
               "unimplemented initializer 'init\\(\\)' for class "
               "'Quorvin_Support.QuorvinScreenCapture'");
}

// ---- starting ----

TEST_F(ScreenCaptureTest, MakesItsQueueAndItsImageContextOnce) {
  ASSERT_EQ(machine.dispatch.serialQueueRequests.size(), 1U);
  EXPECT_EQ(machine.dispatch.serialQueueRequests[0].label, "com.quorvin.support.capture");
  EXPECT_EQ(machine.dispatch.serialQueueRequests[0].qos, QualityOfService::userInteractive);
  EXPECT_THAT(machine.imageEncoder.contexts, ElementsAre(false));
}

TEST_F(ScreenCaptureTest, StartsAStreamOfTheMainDisplayWithTheDefaults) {
  machine.screenCapture.mainScreen = 7;
  machine.screenCapture.setDisplays(
      {std::make_shared<FakeDisplay>(3, 800, 600), std::make_shared<FakeDisplay>(7, 2560, 1600)});
  start();
  EXPECT_EQ(startAnswer.count, 1);
  EXPECT_FALSE(startAnswer.error);
  EXPECT_EQ(capture->displayID(), 7U);
  ASSERT_NE(stream(), nullptr);
  EXPECT_EQ(stream()->filter.display->displayID(), 7U);
  EXPECT_EQ(stream()->configuration,
            (StreamConfiguration{1920, 1200, {1, 30}, 3, true, pixelFormat32BGRA}));
  ASSERT_EQ(machine.screenCapture.contentRequests.size(), 1U);
  EXPECT_TRUE(machine.screenCapture.contentRequests[0].excludingDesktopWindows);
  EXPECT_TRUE(machine.screenCapture.contentRequests[0].onScreenWindowsOnly);
}

TEST_F(ScreenCaptureTest, TakesTheFirstDisplayWhenTheMainScreenIsNotShareable) {
  machine.screenCapture.setDisplays(
      {std::make_shared<FakeDisplay>(3, 800, 600), std::make_shared<FakeDisplay>(4, 1024, 768)});
  machine.screenCapture.mainScreen = 99;
  start();
  EXPECT_EQ(capture->displayID(), 3U);
}

TEST_F(ScreenCaptureTest, TakesTheFirstDisplayWhenThereIsNoMainScreen) {
  machine.screenCapture.setDisplays(
      {std::make_shared<FakeDisplay>(3, 800, 600), std::make_shared<FakeDisplay>(0, 1024, 768)});
  machine.screenCapture.mainScreen.reset();
  start();
  EXPECT_EQ(capture->displayID(), 3U);
}

TEST_F(ScreenCaptureTest, FailsToStartWithoutADisplay) {
  machine.screenCapture.setDisplays({});
  start();
  EXPECT_EQ(startAnswer.error,
            Error("com.quorvin.support.capture", 1, "No display is available to share."));
  EXPECT_EQ(capture->displayID(), std::nullopt);
}

TEST_F(ScreenCaptureTest, FailsToStartWithoutContent) {
  machine.screenCapture.content = nullptr;
  start();
  EXPECT_EQ(startAnswer.count, 1);
  EXPECT_EQ(startAnswer.error->code, 1);
}

TEST_F(ScreenCaptureTest, PassesOnTheErrorOfTheContentRequest) {
  const Error denied("system", -3801, "Denied.");
  machine.screenCapture.contentError = denied;
  start();
  EXPECT_EQ(startAnswer.error, denied);
}

TEST_F(ScreenCaptureTest, DiscardsAStreamThatTakesNoOutput) {
  const Error refused("system", 5, "No output.");
  machine.screenCapture.addOutputError = refused;
  start();
  EXPECT_EQ(startAnswer.error, refused);
  EXPECT_EQ(stream(), nullptr) << "nobody holds the stream any more";
}

TEST_F(ScreenCaptureTest, CanBeStartedAgainAfterAFailedStart) {
  machine.screenCapture.setDisplays({});
  start();
  machine.screenCapture.setDisplays({std::make_shared<FakeDisplay>(1, 800, 600)});
  start();
  EXPECT_EQ(startAnswer.count, 2);
  EXPECT_FALSE(startAnswer.error);
}

TEST_F(ScreenCaptureTest, PassesOnTheErrorOfTheStreamsStartAndArmsNoWatchdog) {
  const Error failed("system", -3802, "Failed.");
  machine.screenCapture.startError = failed;
  start();
  EXPECT_EQ(startAnswer.error, failed);
  machine.dispatch.advanceAndRun(60 * second);
  EXPECT_THAT(stops, IsEmpty());
}

TEST_F(ScreenCaptureTest, StartAfterStopAsksForContentAndThenFails) {
  capture->stop();
  start();
  EXPECT_EQ(machine.screenCapture.contentRequests.size(), 1U);
  EXPECT_EQ(startAnswer.count, 1);
  EXPECT_EQ(startAnswer.error, Error("com.quorvin.support.capture", 2, "Support was stopped."));
}

TEST_F(ScreenCaptureTest, AnswersNoStartOnceItIsGone) {
  machine.screenCapture.answersContent = false;
  capture->start(startAnswer.completion());
  capture.reset();
  machine.screenCapture.answerContentRequest();
  machine.dispatch.runUntilIdle();
  EXPECT_EQ(startAnswer.count, 0);
}

// ---- configuring ----

TEST_F(ScreenCaptureTest, StoresSettingsForTheNextStartWhileIdle) {
  capture->configure({false, "jpeg", 640, 480, 10, 1, 50, 2}, configureAnswer.completion());
  EXPECT_EQ(configureAnswer.count, 1);
  EXPECT_FALSE(configureAnswer.error);
  machine.dispatch.runUntilIdle();
  start();
  EXPECT_EQ(stream()->configuration,
            (StreamConfiguration{640, 400, {1, 10}, 2, false, pixelFormat32BGRA}));
  send(FakeSample::complete(1));
  EXPECT_THAT(machine.imageEncoder.factors, ElementsAre(0.5));
}

TEST_F(ScreenCaptureTest, ReconfiguresARunningStreamFromTheArguments) {
  start();
  capture->configure({false, "jpeg", 720, 480, 15, 1, 90, 4}, configureAnswer.completion());
  EXPECT_THAT(stream()->updates,
              ElementsAre(StreamConfiguration{720, 450, {1, 15}, 4, false, pixelFormat32BGRA}));
  EXPECT_EQ(configureAnswer.count, 0);
  machine.dispatch.runUntilIdle();
  EXPECT_EQ(configureAnswer.count, 1);
  EXPECT_FALSE(configureAnswer.error);
  send(FakeSample::complete(1));
  EXPECT_THAT(machine.imageEncoder.factors, ElementsAre(0.9));
}

TEST_F(ScreenCaptureTest, PassesOnTheErrorOfTheUpdate) {
  start();
  const Error refused("system", -3810, "Refused.");
  machine.screenCapture.updateError = refused;
  capture->configure({}, configureAnswer.completion());
  machine.dispatch.runUntilIdle();
  EXPECT_EQ(configureAnswer.error, refused);
}

TEST_F(ScreenCaptureTest, RefusesSettingsOnceItHasEnded) {
  start();
  capture->stop();
  capture->configure({}, configureAnswer.completion());
  EXPECT_EQ(configureAnswer.count, 1);
  EXPECT_EQ(configureAnswer.error, Error("com.quorvin.support.capture", 2, "Support was stopped."));
  machine.dispatch.runUntilIdle();
  EXPECT_EQ(configureAnswer.count, 1);
}

// ---- ending ----

TEST_F(ScreenCaptureTest, StopsTheStreamQuietlyAndOnce) {
  start();
  const auto running = stream();
  capture->stop();
  capture->stop();
  machine.dispatch.runUntilIdle();
  EXPECT_EQ(running->stopCalls, 1);
  EXPECT_THAT(stops, IsEmpty());
}

TEST_F(ScreenCaptureTest, TakesDownTheWatchdogAtAStop) {
  start();
  EXPECT_EQ(machine.dispatch.runningTimers(), 1U);
  capture->stop();
  machine.dispatch.runUntilIdle();
  EXPECT_EQ(machine.dispatch.runningTimers(), 0U);
}

TEST_F(ScreenCaptureTest, TakesDownTheWatchdogAfterAStopOfTheSystem) {
  start();
  stream()->stopWithError({fakes::fakeStreamErrorDomain, -3821, "Stopped."});
  machine.dispatch.runUntilIdle();
  EXPECT_EQ(machine.dispatch.runningTimers(), 0U);
}

TEST_F(ScreenCaptureTest, TakesDownTheWatchdogAfterAStall) {
  start();
  machine.dispatch.advanceAndRun(6 * second);
  EXPECT_EQ(machine.dispatch.runningTimers(), 0U);
}

TEST_F(ScreenCaptureTest, ANewStartReplacesTheWatchdog) {
  start();
  start();
  EXPECT_EQ(machine.dispatch.runningTimers(), 1U);
}

TEST_F(ScreenCaptureTest, LivesOnAfterAStopUntilItsTimerIsTakenDown) {
  start();
  const auto weak = capture->weak_from_this();
  capture->stop();
  capture.reset();
  EXPECT_FALSE(weak.expired());
  machine.dispatch.runUntilIdle();
  EXPECT_TRUE(weak.expired());
  EXPECT_EQ(machine.dispatch.runningTimers(), 0U);
}

TEST_F(ScreenCaptureTest, ReportsAStopOfTheSystemUnchanged) {
  start();
  const Error ended(fakes::fakeStreamErrorDomain, -3821, "The system stopped the stream.");
  stream()->stopWithError(ended);
  machine.dispatch.runUntilIdle();
  EXPECT_THAT(stops, ElementsAre(ended));
  EXPECT_EQ(stream(), nullptr);
  machine.dispatch.advanceAndRun(60 * second);
  EXPECT_EQ(stops.size(), 1U) << "the watchdog went with the stream";
}

TEST_F(ScreenCaptureTest, DoesNotReportAStopOfTheSystemAfterALocalOne) {
  start();
  const auto running = stream();
  capture->stop();
  running->stopWithError({fakes::fakeStreamErrorDomain, -3817, "Stopped by the user."});
  machine.dispatch.runUntilIdle();
  EXPECT_THAT(stops, IsEmpty());
}

// ---- the watchdog ----

TEST_F(ScreenCaptureTest, EndsASilentStreamAtSixSeconds) {
  start();
  const auto running = stream();
  machine.dispatch.advanceAndRun(6 * second - 1);
  EXPECT_THAT(stops, IsEmpty());
  machine.dispatch.advanceAndRun(1);
  EXPECT_THAT(stops, ElementsAre(Error("com.quorvin.support.capture", 3,
                                       "ScreenCaptureKit stopped delivering capture samples.")));
  EXPECT_EQ(running->stopCalls, 1);
  machine.dispatch.advanceAndRun(60 * second);
  EXPECT_EQ(stops.size(), 1U);
}

TEST_F(ScreenCaptureTest, LooksAgainEveryTwoSeconds) {
  start();
  machine.dispatch.advanceAndRun(second / 2);
  send(FakeSample::withStatus(frameStatusIdle));
  machine.dispatch.advanceAndRun(second * 15 / 2 - 1);  // just before the look at 8 s
  EXPECT_THAT(stops, IsEmpty());
  machine.dispatch.advanceAndRun(1);
  EXPECT_EQ(stops.size(), 1U);
}

TEST_F(ScreenCaptureTest, AnySampleKeepsTheWatchdogQuiet) {
  start();
  auto invalid = FakeSample::complete(1);
  invalid->valid = false;
  for (int round = 0; round < 10; ++round) {
    machine.dispatch.advanceAndRun(5 * second);
    send(round % 2 == 0 ? invalid : FakeSample::withStatus(std::nullopt));
  }
  EXPECT_THAT(stops, IsEmpty());
  EXPECT_THAT(emitted, IsEmpty());
}

TEST_F(ScreenCaptureTest, AStopBeforeTheStallReportsNothing) {
  start();
  machine.dispatch.advanceAndRun(5 * second);
  capture->stop();
  machine.dispatch.advanceAndRun(10 * second);
  EXPECT_THAT(stops, IsEmpty());
}

TEST_F(ScreenCaptureTest, AStopWhileTheWatchdogLooksWins) {
  start();
  const auto running = stream();
  machine.dispatch.whileReadingClock = [this] {
    machine.dispatch.whileReadingClock = {};
    machine.dispatch.onMainThread([this] { capture->stop(); });
  };
  machine.dispatch.advanceAndRun(6 * second);
  EXPECT_THAT(stops, IsEmpty());
  EXPECT_EQ(running->stopCalls, 1);
}

TEST_F(ScreenCaptureTest, AStopOfTheSystemAfterAStallReportsNothingMore) {
  start();
  const auto running = stream();
  machine.dispatch.advanceAndRun(6 * second);
  running->stopWithError({fakes::fakeStreamErrorDomain, -3821, "Late."});
  machine.dispatch.runUntilIdle();
  EXPECT_EQ(stops.size(), 1U);
}

// ---- samples ----

TEST_F(ScreenCaptureTest, TurnsACompleteSampleIntoAJPEGFileOnTheMainThread) {
  start();
  send(FakeSample::complete(42));
  EXPECT_THAT(emitted, ElementsAre(FakeImageEncoder::file(42)));
  EXPECT_FALSE(emittedOffMain);
  EXPECT_THAT(machine.imageEncoder.factors, ElementsAre(0.72));
}

TEST_F(ScreenCaptureTest, SkipsSamplesWithoutACompleteFrame) {
  start();
  for (const auto status : {frameStatusIdle, frameStatusBlank, frameStatusSuspended,
                            frameStatusStarted, frameStatusStopped}) {
    auto sample = FakeSample::complete(1);
    sample->attachmentList = {SampleAttachments{status}};
    send(sample);
  }
  auto noStatus = FakeSample::complete(2);
  noStatus->attachmentList = {SampleAttachments{}};
  send(noStatus);
  auto noAttachments = FakeSample::complete(3);
  noAttachments->attachmentList.reset();
  send(noAttachments);
  auto emptyAttachments = FakeSample::complete(4);
  emptyAttachments->attachmentList->clear();
  send(emptyAttachments);
  auto invalid = FakeSample::complete(5);
  invalid->valid = false;
  send(invalid);
  auto noImage = FakeSample::complete(6);
  noImage->image = nullptr;
  send(noImage);
  EXPECT_THAT(machine.imageEncoder.factors, IsEmpty()) << "nothing was even encoded";
  EXPECT_THAT(emitted, IsEmpty());
}

TEST_F(ScreenCaptureTest, SkipsSamplesThatAreNotOfTheScreen) {
  start();
  stream()->send(FakeSample::complete(1), StreamOutputType::audio);
  machine.dispatch.runUntilIdle();
  EXPECT_THAT(emitted, IsEmpty());
}

TEST_F(ScreenCaptureTest, LooksAtTheFirstAttachmentOnly) {
  start();
  auto sample = FakeSample::complete(1);
  sample->attachmentList->push_back(SampleAttachments{frameStatusIdle});
  send(sample);
  EXPECT_EQ(emitted.size(), 1U);
}

TEST_F(ScreenCaptureTest, DropsASampleThatCannotBeEncoded) {
  start();
  machine.imageEncoder.fails = true;
  send(FakeSample::complete(1));
  machine.imageEncoder.fails = false;
  send(FakeSample::complete(2));
  EXPECT_THAT(emittedContents(), ElementsAre(2U));
}

// ---- the newest frame ----

TEST_F(ScreenCaptureTest, TenFramesBeforeTheMainThreadRunsMakeOneDeliveryOfTheTenth) {
  start();
  const auto queue = machine.dispatch.newestSerialQueue();
  for (std::uint32_t content = 1; content <= 10; ++content) {
    stream()->send(FakeSample::complete(content));
  }
  while (queue->pending() > 0) machine.dispatch.runOneOf(*queue);
  EXPECT_EQ(machine.dispatch.mainThread().pending(), 1U);
  machine.dispatch.runUntilIdle();
  EXPECT_THAT(emittedContents(), ElementsAre(10U));
}

TEST_F(ScreenCaptureTest, DeliversEveryFrameWhileTheMainThreadKeepsUp) {
  start();
  for (std::uint32_t content = 1; content <= 3; ++content) send(FakeSample::complete(content));
  EXPECT_THAT(emittedContents(), ElementsAre(1U, 2U, 3U));
}

TEST_F(ScreenCaptureTest, AQueuedDeliveryFindsNothingAfterAStop) {
  start();
  const auto queue = machine.dispatch.newestSerialQueue();
  stream()->send(FakeSample::complete(1));
  machine.dispatch.runOneOf(*queue);
  EXPECT_EQ(machine.dispatch.mainThread().pending(), 1U);
  capture->stop();
  machine.dispatch.runUntilIdle();
  EXPECT_THAT(emitted, IsEmpty());
}

TEST_F(ScreenCaptureTest, AFrameThatIsBeingEncodedAtTheStopIsDropped) {
  start();
  machine.imageEncoder.whileEncoding = [this] {
    machine.dispatch.onMainThread([this] { capture->stop(); });
  };
  send(FakeSample::complete(1));
  EXPECT_THAT(emitted, IsEmpty());
  EXPECT_EQ(machine.imageEncoder.factors.size(), 1U);
}

// Whoever owns a payload's bytes may call the capture when they are let go: no lock is held then.
// One that is would be waited for here for ever.
TEST_F(ScreenCaptureTest, LetsGoOfAPayloadOutsideItsLocks) {
  std::vector<std::string> let;
  std::string when = "replaced";
  machine.imageEncoder.whenLetGo = [&] {
    let.push_back(when);
    machine.dispatch.onMainThread(
        [this] { capture->configure(PictureSettings(), [](const auto& /*error*/) {}); });
  };
  start();
  const auto running = stream();
  const auto queue = machine.dispatch.newestSerialQueue();
  for (const std::uint32_t content : {1U, 2U}) {
    running->send(FakeSample::complete(content));
    machine.dispatch.runOneOf(*queue);
  }
  EXPECT_THAT(let, ElementsAre("replaced"));
  when = "stopped";
  capture->stop();
  EXPECT_THAT(let, ElementsAre("replaced", "stopped"));
}

TEST_F(ScreenCaptureTest, SamplesAfterAStopAreDropped) {
  start();
  const auto running = stream();
  capture->stop();
  running->send(FakeSample::complete(1));
  machine.dispatch.runUntilIdle();
  EXPECT_THAT(emitted, IsEmpty());
  EXPECT_THAT(machine.imageEncoder.factors, IsEmpty());
}

}  // namespace
}  // namespace quorvin
