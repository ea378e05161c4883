#include <memory>
#include <string>
#include <utility>

#include "tests/unit/runner/BridgeTest.h"

namespace quorvin {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class QuorvinHostBridgeInputTest : public BridgeTest {
 protected:
  Call inject(Value event) { return invoke("injectInput", std::move(event)); }
  Call press(int keyCode) { return inject(Map{{"action", "keyDown"}, {"keyCode", keyCode}}); }
  Call moveTo(double x, double y) {
    return inject(Map{{"action", "mouseMove"}, {"x", x}, {"y", y}});
  }

  // The key codes that were let go since the last look.
  std::vector<int> releasedKeys() {
    std::vector<int> released;
    for (const auto& event : std::exchange(machine.inputEvents.posted, {})) {
      if (event.kind == fakes::FakeInputEvent::Kind::keyboard && !event.keyDown) {
        released.push_back(event.virtualKey);
      }
    }
    return released;
  }

  static FlutterReply notAuthorized() {
    return error("input_not_authorized",
                 "Remote input is allowed only during an authorized session.");
  }
  static FlutterReply badShape() { return error("bad_input", "Invalid input event."); }
  static FlutterReply badEvent() { return error("bad_input", "Invalid remote input."); }
};

// ---- who may ----

TEST_F(QuorvinHostBridgeInputTest, LetsNothingThroughBeforeASession) {
  expectReply(press(0), notAuthorized());
  expectReply(inject({}), notAuthorized());
  expectReply(inject(Map{{"action", 5}}), notAuthorized());
  EXPECT_THAT(machine.inputEvents.sourcesAsked, IsEmpty()) << "there is no controller yet";
  EXPECT_EQ(machine.inputEvents.eventsAsked, 0U);
}

TEST_F(QuorvinHostBridgeInputTest, DoesNotAskForThePermissionWithoutASession) {
  press(0);
  EXPECT_THAT(machine.permissions.calls, IsEmpty());
}

TEST_F(QuorvinHostBridgeInputTest, ReadsThePermissionAfreshForEveryEvent) {
  startSession();
  expectReply(press(1), nothing());
  machine.permissions.accessibility = false;
  expectReply(press(2), notAuthorized());
  expectReply(inject(List{}), notAuthorized());
  machine.permissions.accessibility = true;
  expectReply(press(3), nothing());
  EXPECT_EQ(machine.inputEvents.posted.size(), 2U);
}

TEST_F(QuorvinHostBridgeInputTest, LetsNothingThroughAfterASession) {
  startSession();
  invoke("stopCapture");
  expectReply(press(0), notAuthorized());
  EXPECT_THAT(machine.inputEvents.posted, IsEmpty());
}

TEST_F(QuorvinHostBridgeInputTest, WhileASessionStartsOnlyWhatNeedsNoDisplayGetsThrough) {
  machine.screenCapture.completesStarts = false;
  startSession();
  expectReply(press(0), nothing());
  expectReply(inject(Map{{"action", "scroll"}, {"dx", 1}, {"dy", 1}}), nothing());
  expectReply(moveTo(0, 0), badEvent());
  EXPECT_THAT(machine.inputEvents.displayQuestions, IsEmpty());
  stream()->completeStart();
  machine.dispatch.runUntilIdle();
  expectReply(moveTo(0, 0), nothing());
}

// ---- what an event looks like ----

TEST_F(QuorvinHostBridgeInputTest, WantsAMapWithStringKeysAndAnAction) {
  startSession();
  for (const Value& arguments :
       {Value(), Value("keyDown"), Value(List{Map{{"action", "keyDown"}}}), Value(Map{}),
        Value(Map{{"keyCode", 0}}), Value(Map{{"action", 5}}), Value(Map{{"action", nullptr}}),
        Value(Map{{"action", true}}), Value(Map{{"action", "keyDown"}, {"keyCode", 0}, {1, 2}}),
        Value(Map{{"action", "keyDown"}, {"keyCode", 0}, {nullptr, 2}})}) {
    expectReply(inject(arguments), badShape());
  }
  EXPECT_THAT(machine.inputEvents.sourcesAsked, IsEmpty()) << "there is no controller yet";
  EXPECT_EQ(machine.inputEvents.eventsAsked, 0U);
}

TEST_F(QuorvinHostBridgeInputTest, AnswersWithTheControllersWords) {
  startSession();
  for (const Value& arguments :
       {Value(Map{{"action", ""}}), Value(Map{{"action", "fly"}}),
        Value(Map{{"action", "keyDown"}}), Value(Map{{"action", "keyDown"}, {"keyCode", 128}})}) {
    expectReply(inject(arguments), badEvent());
  }
  EXPECT_THAT(machine.inputEvents.posted, IsEmpty());
}

TEST_F(QuorvinHostBridgeInputTest, SucceedsWhenTheSystemMakesNoEvent) {
  startSession();
  machine.inputEvents.makesEvents = false;
  expectReply(press(0), nothing());
}

// ---- onto which display ----

TEST_F(QuorvinHostBridgeInputTest, MapsOntoTheCapturedDisplayAsItIsNow) {
  startSession();
  expectReply(moveTo(1, 1), nothing());
  EXPECT_EQ(machine.inputEvents.posted.back().position, (Point{1439, 899}));
  machine.inputEvents.displays[1].bounds = {{-800, 40}, {800, 600}};
  expectReply(moveTo(0, 1), nothing());
  EXPECT_EQ(machine.inputEvents.posted.back().position, (Point{-800, 639}));
  EXPECT_THAT(machine.inputEvents.displayQuestions,
              ElementsAre("active 1", "bounds 1", "active 1", "bounds 1"));
}

TEST_F(QuorvinHostBridgeInputTest, RefusesMouseEventsOntoAnInactiveDisplay) {
  startSession();
  machine.inputEvents.displays[1].isActive = false;
  expectReply(moveTo(0, 0), badEvent());
  EXPECT_THAT(machine.inputEvents.displayQuestions, ElementsAre("active 1"));
  expectReply(press(0), nothing());
  EXPECT_EQ(machine.inputEvents.posted.size(), 1U);
}

TEST_F(QuorvinHostBridgeInputTest, AnAbandonedSessionDoesNotTakeItsDisplayAlong) {
  startSession();
  invoke("stopCapture");
  machine.screenCapture.completesStarts = false;
  startSession();
  expectReply(moveTo(0, 0), badEvent());
  stream()->completeStart();
  machine.dispatch.runUntilIdle();
}

// ---- letting go ----

TEST_F(QuorvinHostBridgeInputTest, ReleasesOnRequestAtAnyTime) {
  expectReply(invoke("releaseInput"), nothing());
  EXPECT_THAT(machine.inputEvents.posted, IsEmpty());
  startSession();
  press(12);
  machine.permissions.accessibility = false;
  expectReply(invoke("releaseInput", List{"ignored"}), nothing());
  EXPECT_THAT(releasedKeys(), ElementsAre(12));
  EXPECT_TRUE(bridge->hasSession());
}

TEST_F(QuorvinHostBridgeInputTest, ReleasesBeforeAStopIsAnswered) {
  startSession();
  press(0);
  std::size_t postedAtReply = 0;
  bridge->handle({"stopCapture", {}}, [&](const FlutterReply& /*reply*/) {
    postedAtReply = machine.inputEvents.posted.size();
  });
  EXPECT_EQ(postedAtReply, 2U);
  EXPECT_THAT(releasedKeys(), ElementsAre(0));
}

TEST_F(QuorvinHostBridgeInputTest, ReleasesWhenTheCaptureEndsByItself) {
  startSession();
  press(0);
  stream()->stopWithError({fakes::fakeStreamErrorDomain, -3821, "The system stopped it."});
  EXPECT_EQ(machine.inputEvents.posted.size(), 1U) << "the stop has not reached the main thread";
  machine.dispatch.runUntilIdle();
  EXPECT_THAT(releasedKeys(), ElementsAre(0));
  expectReply(press(0), notAuthorized());
}

TEST_F(QuorvinHostBridgeInputTest, AnOldCapturesEndReleasesNothing) {
  startSession();
  const auto old = stream();
  startSession();
  press(0);
  old->stopWithError({fakes::fakeStreamErrorDomain, -3821, "The system stopped it."});
  machine.dispatch.runUntilIdle();
  EXPECT_THAT(releasedKeys(), IsEmpty());
}

TEST_F(QuorvinHostBridgeInputTest, ReleasesWhenTheBridgeGoes) {
  startSession();
  press(0);
  bridge.reset();
  messenger().shutDown();
  EXPECT_THAT(releasedKeys(), ElementsAre(0));
}

TEST_F(QuorvinHostBridgeInputTest, KeepsItsControllerFromSessionToSession) {
  startSession();
  press(0);
  invoke("stopCapture");
  startSession();
  press(1);
  EXPECT_EQ(machine.inputEvents.sourcesAsked.size(), 1U);
}

TEST_F(QuorvinHostBridgeInputTest, WhatIsHeldStaysHeldWhenASessionIsStartedAnew) {
  startSession();
  press(0);
  startSession();
  EXPECT_THAT(releasedKeys(), IsEmpty());
  invoke("stopCapture");
  EXPECT_THAT(releasedKeys(), ElementsAre(0));
}

TEST_F(QuorvinHostBridgeInputTest, ReleasesWhatWasPressedBeforeAStartFails) {
  machine.screenCapture.completesStarts = false;
  bool isReleasedAtReply = false;
  bridge->handle({"startCapture", Map{{"locallyAuthorized", true}}},
                 [&](const FlutterReply& /*reply*/) {
                   isReleasedAtReply = releasedKeys() == std::vector<int>{0, 56};
                 });
  machine.dispatch.runUntilIdle();
  press(56);
  press(0);
  stream()->completeStart(Error("system", -3802, "Failed."));
  machine.dispatch.runUntilIdle();
  EXPECT_TRUE(isReleasedAtReply);
  expectReply(inject(Map{{"action", "keyUp"}, {"keyCode", 0}}), notAuthorized());
}

TEST_F(QuorvinHostBridgeInputTest, ReleasesWhatARunningSessionHeldWhenItsRestartFails) {
  startSession();
  inject(Map{{"action", "mouseDown"}, {"x", 0.5}, {"y", 0.5}});
  machine.screenCapture.completesStarts = false;
  startSession();
  expectReply(inject(Map{{"action", "mouseUp"}, {"x", 0.5}, {"y", 0.5}}), badEvent());
  machine.inputEvents.posted.clear();
  stream()->completeStart(Error("system", -3802, "Failed."));
  machine.dispatch.runUntilIdle();
  ASSERT_EQ(machine.inputEvents.posted.size(), 1U);
  EXPECT_EQ(machine.inputEvents.posted[0].type, MouseEventType::leftMouseUp);
}

}  // namespace
}  // namespace quorvin
