#include <limits>
#include <utility>

#include "tests/unit/runner/BridgeTest.h"

namespace quorvin {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::uint64_t second = 1'000'000'000;
constexpr std::size_t frameOverhead = 8;  // of a fake file without padding

using QuorvinHostBridgeSessionTest = BridgeTest;

FlutterEvent stopped(const std::string& code, const Error& error) {
  return FlutterError{code, error.localizedDescription,
                      Map{{"domain", error.domain}, {"code", error.code}}};
}

// ---- starting ----

TEST_F(QuorvinHostBridgeSessionTest, NeedsScreenRecording) {
  machine.permissions.screenRecording = false;
  machine.permissions.accessibility = false;
  expectReply(startSession(),
              error("screen_recording_required", "Allow Screen Recording in System Settings."));
  EXPECT_THAT(machine.permissions.calls, ElementsAre("preflightScreenCaptureAccess"));
  EXPECT_FALSE(bridge->hasSession());
  EXPECT_THAT(machine.process.begunActivities, IsEmpty());
}

TEST_F(QuorvinHostBridgeSessionTest, NeedsAccessibilityEvenToBeWatchedOnly) {
  machine.permissions.accessibility = false;
  expectReply(startSession(),
              error("accessibility_required", "Allow Accessibility in System Settings."));
  EXPECT_FALSE(bridge->hasSession());
  EXPECT_THAT(machine.process.begunActivities, IsEmpty());
}

TEST_F(QuorvinHostBridgeSessionTest, AMissingPermissionLeavesARunningSessionAlone) {
  startSession();
  machine.permissions.accessibility = false;
  expectReply(startSession(),
              error("accessibility_required", "Allow Accessibility in System Settings."));
  EXPECT_TRUE(bridge->hasSession());
  listen();
  sendFrame(1);
  EXPECT_THAT(events(), ElementsAre(frame(1)));
}

TEST_F(QuorvinHostBridgeSessionTest, HoldsAnActivityFromTheStartToTheEnd) {
  machine.screenCapture.completesStarts = false;
  const auto call = startSession();
  EXPECT_EQ(call->replies, 0);
  EXPECT_EQ(machine.process.runningActivities(), 1U) << "held while still starting";
  ASSERT_EQ(machine.process.begunActivities.size(), 1U);
  EXPECT_EQ(machine.process.begunActivities[0].options, 0xFF00FFFFFFU);
  EXPECT_EQ(machine.process.begunActivities[0].reason,
            "An authorized Quorvin support session is active.");
  stream()->completeStart();
  machine.dispatch.runUntilIdle();
  expectReply(call, nothing());
  EXPECT_EQ(machine.process.runningActivities(), 1U);
  expectReply(invoke("stopCapture"), nothing());
  EXPECT_EQ(machine.process.runningActivities(), 0U);
}

TEST_F(QuorvinHostBridgeSessionTest, KnowsTheDisplayOnlyOnceTheCaptureRuns) {
  machine.screenCapture.completesStarts = false;
  startSession();
  EXPECT_TRUE(bridge->hasSession());
  EXPECT_EQ(bridge->inputDisplay(), std::nullopt);
  stream()->completeStart();
  machine.dispatch.runUntilIdle();
  EXPECT_EQ(bridge->inputDisplay(), 1U);
  invoke("stopCapture");
  EXPECT_EQ(bridge->inputDisplay(), std::nullopt);
}

TEST_F(QuorvinHostBridgeSessionTest, ForgetsTheDisplayWhenASessionIsStartedAnew) {
  startSession();
  ASSERT_EQ(bridge->inputDisplay(), 1U);
  machine.screenCapture.completesStarts = false;
  const auto restart = startSession();
  EXPECT_EQ(bridge->inputDisplay(), std::nullopt) << "while it starts";
  stream()->completeStart(Error("system", -3802, "The stream failed to start."));
  machine.dispatch.runUntilIdle();
  expectReply(restart, error("capture_failed", "The stream failed to start."));
  EXPECT_EQ(bridge->inputDisplay(), std::nullopt) << "after it failed";
}

TEST_F(QuorvinHostBridgeSessionTest, AStartThatIsAnsweredAfterTheSystemsStopLeavesNoDisplay) {
  listen();
  machine.screenCapture.completesStarts = false;
  const auto start = startSession();
  const auto starting = stream();
  const Error gone("system", -3821, "The system stopped the stream.");
  starting->stopWithError(gone);
  machine.dispatch.runUntilIdle();
  EXPECT_FALSE(bridge->hasSession());
  EXPECT_EQ(start->replies, 0);
  starting->completeStart();
  machine.dispatch.runUntilIdle();
  expectReply(start, nothing());
  EXPECT_THAT(events(), ElementsAre(stopped("capture_stopped", gone)));
  EXPECT_FALSE(bridge->hasSession());
  EXPECT_EQ(bridge->inputDisplay(), std::nullopt);
}

TEST_F(QuorvinHostBridgeSessionTest, AFailedStartEndsTheActivityAndTheNextStartBeginsANewOne) {
  machine.screenCapture.startError = Error("system", -3802, "The stream failed to start.");
  expectReply(startSession(), error("capture_failed", "The stream failed to start."));
  EXPECT_FALSE(bridge->hasSession());
  EXPECT_EQ(machine.process.runningActivities(), 0U);
  machine.screenCapture.startError.reset();
  expectReply(startSession(), nothing());
  EXPECT_EQ(machine.process.begunActivities.size(), 2U);
  EXPECT_EQ(machine.process.runningActivities(), 1U);
}

TEST_F(QuorvinHostBridgeSessionTest, AStartForWhichThereIsNoQueueFailsLikeAnyOther) {
  startSession();
  machine.dispatch.serialQueueError = Error("system", 11, "A thread could not be made.");
  expectReply(startSession(), error("capture_failed", "A thread could not be made."));
  EXPECT_FALSE(bridge->hasSession());
  EXPECT_EQ(machine.process.runningActivities(), 0U);
  expectReply(startSession(), nothing());
  EXPECT_TRUE(bridge->hasSession());
}

TEST_F(QuorvinHostBridgeSessionTest, StoppingWhileStartingCancelsTheStart) {
  listen();
  machine.screenCapture.answersContent = false;
  const auto start = startSession();
  expectReply(invokeAndRun("stopCapture"), nothing());
  EXPECT_EQ(start->replies, 0);
  machine.screenCapture.answerContentRequest();
  machine.dispatch.runUntilIdle();
  expectReply(start, error("capture_cancelled", "Support was stopped."));
  EXPECT_EQ(stream(), nullptr) << "no stream was ever made";
  EXPECT_THAT(events(), IsEmpty());
}

TEST_F(QuorvinHostBridgeSessionTest, StoppingWhileTheStreamStartsStopsThatStream) {
  listen();
  machine.screenCapture.completesStarts = false;
  const auto start = startSession();
  const auto starting = stream();
  invokeAndRun("stopCapture");
  starting->completeStart();
  starting->send(fakes::FakeSample::complete(1));
  machine.dispatch.runUntilIdle();
  expectReply(start, error("capture_cancelled", "Support was stopped."));
  EXPECT_EQ(starting->stopCalls, 1);
  EXPECT_THAT(events(), IsEmpty());
}

TEST_F(QuorvinHostBridgeSessionTest, ASecondStartReplacesTheFirst) {
  listen();
  machine.screenCapture.completesStarts = false;
  const auto first = startSession();
  const auto firstStream = stream();
  const auto replacement = startSession();
  const auto secondStream = stream();
  EXPECT_EQ(machine.process.runningActivities(), 1U);
  EXPECT_EQ(machine.process.begunActivities.size(), 1U) << "the activity is kept, not renewed";
  EXPECT_EQ(firstStream->stopCalls, 0) << "not stopped by the bridge";

  secondStream->completeStart();
  machine.dispatch.runUntilIdle();
  expectReply(replacement, nothing());
  firstStream->completeStart();
  machine.dispatch.runUntilIdle();
  expectReply(first, error("capture_cancelled", "Support was stopped."));
  EXPECT_EQ(firstStream->stopCalls, 1) << "its own late start stops it";

  firstStream->send(fakes::FakeSample::complete(1));
  secondStream->send(fakes::FakeSample::complete(2));
  machine.dispatch.runUntilIdle();
  EXPECT_THAT(events(), ElementsAre(frame(2)));
}

TEST_F(QuorvinHostBridgeSessionTest, ARestartLetsTheRunningCaptureGo) {
  startSession();
  const std::weak_ptr<fakes::FakeStream> first = machine.screenCapture.streams.front();
  startSession();
  EXPECT_TRUE(first.expired());
  EXPECT_TRUE(bridge->hasSession());
}

TEST_F(QuorvinHostBridgeSessionTest, APendingStartEndsOnTheMainThreadWhoeverDropsItsCompletion) {
  machine.screenCapture.completesStarts = false;
  const auto start = startSession();
  const auto starting = stream();
  const std::weak_ptr<QuorvinHostBridge> pendingBridge = std::exchange(bridge, nullptr);
  messenger().shutDown();
  EXPECT_FALSE(pendingBridge.expired()) << "the call must get its answer";
  starting->completeStart();
  machine.dispatch.runUntilIdle();
  EXPECT_EQ(start->replies, 1);
  EXPECT_TRUE(pendingBridge.expired()) << "the system still holds the completion";
}

// ---- frames ----

TEST_F(QuorvinHostBridgeSessionTest, SendsFramesToTheListener) {
  listen();
  startSession();
  sendFrame(1);
  sendFrame(2);
  EXPECT_THAT(events(), ElementsAre(frame(1), frame(2)));
}

TEST_F(QuorvinHostBridgeSessionTest, DropsFramesWhileNobodyListens) {
  startSession();
  sendFrame(1);
  listen();
  sendFrame(2);
  cancel();
  sendFrame(3);
  EXPECT_THAT(events(), ElementsAre(frame(2)));
}

TEST_F(QuorvinHostBridgeSessionTest, ASecondListenerReplacesTheFirst) {
  startSession();
  listen();
  std::vector<FlutterEvent> newListener;
  EXPECT_FALSE(bridge->onListen({}, [&](FlutterEvent event) { newListener.push_back(event); }));
  sendFrame(1);
  EXPECT_THAT(events(), IsEmpty());
  EXPECT_THAT(newListener, ElementsAre(frame(1)));
  cancel();
}

TEST_F(QuorvinHostBridgeSessionTest, CancellingWithoutAListenerIsHarmless) {
  EXPECT_FALSE(bridge->onCancel({}));
  EXPECT_FALSE(bridge->onCancel({}));
  startSession();
  sendFrame(1);
  EXPECT_THAT(events(), IsEmpty());
}

TEST_F(QuorvinHostBridgeSessionTest, DeliversAFrameOfExactlySixteenMebibytesAndNoLargerOne) {
  listen();
  startSession();
  machine.imageEncoder.paddingBytes = 16'777'216 - frameOverhead;
  sendFrame(1);
  machine.imageEncoder.paddingBytes += 1;
  sendFrame(2);
  ASSERT_EQ(events().size(), 1U);
  EXPECT_EQ(std::get<Value>(events()[0]).as<Data>()->size(), 16'777'216U);
}

TEST_F(QuorvinHostBridgeSessionTest, FramesUnderWayAtTheStopNeverArrive) {
  listen();
  startSession();
  // Let the frame come as far as the last hop to the main queue, then stop.
  stream()->send(fakes::FakeSample::complete(1));
  machine.dispatch.runOneOf(*machine.dispatch.newestSerialQueue());
  machine.dispatch.runOneOf(machine.dispatch.mainThread());
  ASSERT_EQ(machine.dispatch.mainThread().pending(), 1U);
  invoke("stopCapture");
  machine.dispatch.runUntilIdle();
  EXPECT_THAT(events(), IsEmpty());
}

TEST_F(QuorvinHostBridgeSessionTest, FramesOfAnEarlierSessionDoNotReachTheNext) {
  listen();
  startSession();
  stream()->send(fakes::FakeSample::complete(1));
  machine.dispatch.runOneOf(*machine.dispatch.newestSerialQueue());
  machine.dispatch.runOneOf(machine.dispatch.mainThread());
  invoke("stopCapture");
  invoke("startCapture", Map{{"locallyAuthorized", true}});
  machine.dispatch.runUntilIdle();
  sendFrame(2);
  EXPECT_THAT(events(), ElementsAre(frame(2)));
}

// ---- endings that nobody asked for ----

TEST_F(QuorvinHostBridgeSessionTest, ReportsAStreamThatTheSystemStopped) {
  listen();
  startSession();
  const Error gone("system", -3821, "The system stopped the stream.");
  stream()->stopWithError(gone);
  machine.dispatch.runUntilIdle();
  EXPECT_THAT(events(), ElementsAre(stopped("capture_stopped", gone)));
  EXPECT_FALSE(bridge->hasSession());
  EXPECT_EQ(bridge->inputDisplay(), std::nullopt);
  EXPECT_EQ(machine.process.runningActivities(), 0U);
}

TEST_F(QuorvinHostBridgeSessionTest, ReportsAStall) {
  listen();
  startSession();
  machine.dispatch.advanceAndRun(6 * second);
  EXPECT_THAT(events(),
              ElementsAre(stopped("capture_stopped",
                                  Error("com.quorvin.support.capture", 3,
                                        "ScreenCaptureKit stopped delivering capture samples."))));
  EXPECT_FALSE(bridge->hasSession());
}

TEST_F(QuorvinHostBridgeSessionTest, TellsAStopByTheUserApartFromMacOS15On) {
  const Error byUser(fakes::fakeStreamErrorDomain, -3817, "The user stopped the stream.");
  listen();
  for (const auto& [major, minor] :
       {std::pair(13, 0), std::pair(14, 7), std::pair(15, 0), std::pair(15, 2), std::pair(26, 0)}) {
    machine.process.macOSMajor = major;
    machine.process.macOSMinor = minor;
    messenger().events.clear();
    startSession();
    stream()->stopWithError(byUser);
    machine.dispatch.runUntilIdle();
    EXPECT_THAT(events(), ElementsAre(stopped(
                              major >= 15 ? "capture_user_stopped" : "capture_stopped", byUser)));
  }
}

TEST_F(QuorvinHostBridgeSessionTest, TakesOnlyTheStreamsOwnErrorForAStopByTheUser) {
  machine.process.macOSMajor = 15;
  listen();
  for (const auto& other : {Error("another.domain", -3817, "Other domain."),
                            Error(fakes::fakeStreamErrorDomain, -3816, "Other code.")}) {
    messenger().events.clear();
    startSession();
    stream()->stopWithError(other);
    machine.dispatch.runUntilIdle();
    EXPECT_THAT(events(), ElementsAre(stopped("capture_stopped", other)));
  }
}

TEST_F(QuorvinHostBridgeSessionTest, WithoutAListenerAnEndingLeavesNoTrace) {
  startSession();
  stream()->stopWithError(Error("system", -3821, "Gone."));
  machine.dispatch.runUntilIdle();
  EXPECT_FALSE(bridge->hasSession());
  EXPECT_EQ(machine.process.runningActivities(), 0U);
  listen();
  machine.dispatch.runUntilIdle();
  EXPECT_THAT(events(), IsEmpty());
}

TEST_F(QuorvinHostBridgeSessionTest, AnEndingOfAnEarlierSessionDoesNotTouchTheNext) {
  listen();
  startSession();
  stream()->stopWithError(Error("system", -3821, "Gone."));
  machine.dispatch.runOneOf(machine.dispatch.systemThreads());
  machine.dispatch.runOneOf(machine.dispatch.mainThread());  // the capture reports to the bridge
  invoke("startCapture", Map{{"locallyAuthorized", true}});
  machine.dispatch.runUntilIdle();
  EXPECT_THAT(events(), IsEmpty());
  EXPECT_TRUE(bridge->hasSession());
  EXPECT_EQ(machine.process.runningActivities(), 1U);
}

TEST_F(QuorvinHostBridgeSessionTest, ANewSessionStartsAfterAnEnding) {
  listen();
  startSession();
  stream()->stopWithError(Error("system", -3821, "Gone."));
  machine.dispatch.runUntilIdle();
  expectReply(startSession(), nothing());
  sendFrame(5);
  EXPECT_EQ(events().back(), frame(5));
}

// ---- stopping and teardown ----

TEST_F(QuorvinHostBridgeSessionTest, StoppingWithoutASessionIsAnsweredAllTheSame) {
  expectReply(invoke("stopCapture", Map{{"ignored", 1}}), nothing());
  expectReply(invoke("stopCapture"), nothing());
}

TEST_F(QuorvinHostBridgeSessionTest, StoppingSendsNothingOnTheEventChannel) {
  listen();
  startSession();
  const auto running = stream();
  invokeAndRun("stopCapture");
  EXPECT_EQ(running->stopCalls, 1);
  EXPECT_THAT(events(), IsEmpty());
}

TEST_F(QuorvinHostBridgeSessionTest, TeardownEndsTheSession) {
  startSession();
  const auto running = stream();
  bridge.reset();
  messenger().shutDown();
  EXPECT_EQ(running->stopCalls, 1);
  EXPECT_EQ(machine.process.runningActivities(), 0U);
}

TEST_F(QuorvinHostBridgeSessionTest, TeardownWhileStartingWaitsForTheStartThatHoldsTheBridge) {
  machine.screenCapture.completesStarts = false;
  startSession();
  const std::weak_ptr<QuorvinHostBridge> weak = bridge;
  bridge.reset();
  messenger().shutDown();
  EXPECT_FALSE(weak.expired()) << "the pending call must still be answered";
  stream()->completeStart();
  machine.dispatch.runUntilIdle();
  EXPECT_TRUE(weak.expired());
}

TEST(SessionGeneration, CountsUp) {
  EXPECT_EQ(nextGeneration(41), 42);
}

TEST(SessionGenerationDeathTest, StopsTheProcessRatherThanReuseANumber) {
  EXPECT_DEATH((void)nextGeneration(std::numeric_limits<std::int64_t>::max()), "overflowed");
}

}  // namespace
}  // namespace quorvin
