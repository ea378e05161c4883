#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <set>
#include <string>
#include <vector>

#include "Runner/RemoteInputController.h"
#include "platform/Error.h"
#include "tests/fakes/FakeInputEvents.h"

namespace quorvin {
namespace {

using fakes::FakeInputEvent;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using Content = FakeInputEvent::Content;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr std::int64_t integerMax = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t integerMin = std::numeric_limits<std::int64_t>::min();

Map mouse(const std::string& action, Value x, Value y) {
  return {{"action", action}, {"x", std::move(x)}, {"y", std::move(y)}};
}

Map button(const std::string& action, Value name) {
  auto event = mouse(action, 0, 0);
  event.append("button", std::move(name));
  return event;
}

Map clicks(const std::string& action, Value count) {
  auto event = mouse(action, 0, 0);
  event.append("clickCount", std::move(count));
  return event;
}

Map scroll(Value dx, Value dy) {
  return {{"action", "scroll"}, {"dx", std::move(dx)}, {"dy", std::move(dy)}};
}

Map key(const std::string& action, Value code) {
  return {{"action", action}, {"keyCode", std::move(code)}};
}

Content mouseEvent(MouseEventType type, Point position, MouseButton number,
                   std::optional<std::int64_t> clickState, EventFlags flags = 0) {
  return {.kind = FakeInputEvent::Kind::mouse,
          .type = type,
          .position = position,
          .button = number,
          .clickState = clickState,
          .flags = flags};
}

Content scrollEvent(std::int32_t vertical, std::int32_t horizontal, EventFlags flags = 0) {
  return {.kind = FakeInputEvent::Kind::scroll,
          .units = ScrollEventUnit::pixel,
          .wheelCount = 2,
          .wheel1 = vertical,
          .wheel2 = horizontal,
          .wheel3 = 0,
          .flags = flags};
}

Content keyEvent(std::uint16_t code, bool down, EventFlags flags = 0) {
  return {
      .kind = FakeInputEvent::Kind::keyboard, .virtualKey = code, .keyDown = down, .flags = flags};
}

class RemoteInputControllerTest : public testing::Test {
 protected:
  RemoteInputController makeController() {
    return {system, [this] {
              ++boundsAsked;
              return bounds;
            }};
  }

  // What the last call posted.
  std::vector<Content> apply(const Map& event) {
    system.posted.clear();
    controller.apply(event);
    return system.posted;
  }
  std::vector<Content> releaseAll() {
    system.posted.clear();
    controller.releaseAll();
    return system.posted;
  }

  // The event is refused with the one error, and neither the system nor the controller notices.
  void expectRefused(const Map& event) {
    const auto buttonsBefore = controller.heldButtons();
    const auto keysBefore = controller.heldKeys();
    const auto clicksBefore = controller.clickCounts();
    const auto pointerBefore = controller.pointer();
    const auto eventsBefore = system.eventsAsked;
    try {
      controller.apply(event);
      ADD_FAILURE() << "was accepted";
    } catch (const Error& error) {
      EXPECT_EQ(error, Error("com.quorvin.support.input", 1, "Invalid remote input."));
    }
    EXPECT_EQ(controller.heldButtons(), buttonsBefore);
    EXPECT_EQ(controller.heldKeys(), keysBefore);
    EXPECT_EQ(controller.clickCounts(), clicksBefore);
    EXPECT_EQ(controller.pointer(), pointerBefore);
    EXPECT_EQ(system.eventsAsked, eventsBefore);
  }

  fakes::FakeInputEvents system;
  std::optional<Rect> bounds = Rect{{0, 0}, {1920, 1080}};
  int boundsAsked = 0;
  RemoteInputController controller = makeController();
};

// ---- construction ----

TEST_F(RemoteInputControllerTest, MakesOneSourceForTheCombinedSessionState) {
  EXPECT_THAT(system.sourcesAsked, ElementsAre(EventSourceState::combinedSession));
  controller.apply(mouse("mouseMove", 0, 0));
  controller.apply(scroll(1, 1));
  controller.apply(key("keyDown", 1));
  controller.releaseAll();
  EXPECT_EQ(system.sourcesAsked.size(), 1U);
  EXPECT_EQ(system.postedSources.size(), 4U);
  EXPECT_THAT(system.postedSources, Each(system.source));
  EXPECT_THAT(system.taps, Each(EventTapLocation::session));
}

TEST_F(RemoteInputControllerTest, MakesItsEventsWithoutASourceWhenThereIsNone) {
  system.makesSources = false;
  auto sourceless = makeController();
  sourceless.apply(mouse("mouseDown", 0, 0));
  sourceless.apply(scroll(1, 1));
  sourceless.apply(key("keyDown", 1));
  sourceless.releaseAll();
  EXPECT_EQ(system.postedSources.size(), 5U);
  EXPECT_THAT(system.postedSources, Each(nullptr));
}

TEST_F(RemoteInputControllerTest, StartsWithNothingHeldAndThePointerAtTheOrigin) {
  EXPECT_THAT(controller.heldButtons(), IsEmpty());
  EXPECT_THAT(controller.heldKeys(), IsEmpty());
  EXPECT_THAT(controller.clickCounts(), IsEmpty());
  EXPECT_EQ(controller.pointer(), (Point{0, 0}));
}

TEST_F(RemoteInputControllerTest, PostsWhereItIsTold) {
  std::vector<std::shared_ptr<InputEvent>> posted;
  RemoteInputController elsewhere(
      system, [] { return std::nullopt; }, [&](const auto& event) { posted.push_back(event); });
  elsewhere.apply(key("keyDown", 5));
  ASSERT_EQ(posted.size(), 1U);
  EXPECT_EQ(dynamic_cast<FakeInputEvent&>(*posted[0]).content, keyEvent(5, true));
  EXPECT_THAT(system.posted, IsEmpty());
}

// ---- what is no event ----

TEST_F(RemoteInputControllerTest, RefusesWhatNamesNoAction) {
  expectRefused({});
  expectRefused({{"x", 0}, {"y", 0}});
  for (const Value& action : {Value(), Value(5), Value(true), Value(List{"mouseMove"}),
                              Value(Map{{"action", "keyDown"}})}) {
    expectRefused({{"action", action}, {"x", 0}, {"y", 0}, {"keyCode", 0}, {"dx", 0}, {"dy", 0}});
  }
}

TEST_F(RemoteInputControllerTest, RefusesActionsItDoesNotKnow) {
  for (const auto* action : {"", "MouseMove", "mousemove", "mouseDown ", "keyPress", "Scroll",
                             "mouse", "keyup", "release"}) {
    expectRefused({{"action", action}, {"x", 0}, {"y", 0}, {"keyCode", 0}, {"dx", 0}, {"dy", 0}});
  }
}

TEST_F(RemoteInputControllerTest, IgnoresKeysItDoesNotKnow) {
  auto event = key("keyDown", 3);
  event.append("x", "not a number");
  event.append("flags", 0xFFFF);
  EXPECT_THAT(apply(event), ElementsAre(keyEvent(3, true)));
}

TEST_F(RemoteInputControllerTest, LetsTheLastOfARepeatedKeyCount) {
  auto event = key("keyDown", 3);
  event.append("keyCode", 4);
  EXPECT_THAT(apply(event), ElementsAre(keyEvent(4, true)));
}

// ---- mouse ----

TEST_F(RemoteInputControllerTest, PressesTheLeftButtonAtTheFirstPixel) {
  EXPECT_THAT(apply(mouse("mouseDown", 0, 0)),
              ElementsAre(mouseEvent(MouseEventType::leftMouseDown, {0, 0}, MouseButton::left, 1)));
  EXPECT_THAT(controller.heldButtons(), ElementsAre("left"));
}

TEST_F(RemoteInputControllerTest, PressesTheRightButtonTwiceAtTheLastPixel) {
  auto event = mouse("mouseDown", 1, 1);
  event.append("button", "right");
  event.append("clickCount", 2);
  EXPECT_THAT(apply(event), ElementsAre(mouseEvent(MouseEventType::rightMouseDown, {1919, 1079},
                                                   MouseButton::right, 2)));
}

TEST_F(RemoteInputControllerTest, NamesEveryButtonsEvents) {
  struct Case {
    const char* name;
    MouseButton number;
    MouseEventType down, dragged, up;
  };
  for (const auto& [name, number, down, dragged, up] :
       {Case{"left", MouseButton::left, MouseEventType::leftMouseDown,
             MouseEventType::leftMouseDragged, MouseEventType::leftMouseUp},
        Case{"right", MouseButton::right, MouseEventType::rightMouseDown,
             MouseEventType::rightMouseDragged, MouseEventType::rightMouseUp},
        Case{"middle", MouseButton::center, MouseEventType::otherMouseDown,
             MouseEventType::otherMouseDragged, MouseEventType::otherMouseUp}}) {
    EXPECT_THAT(apply(button("mouseDown", name)), ElementsAre(mouseEvent(down, {}, number, 1)));
    EXPECT_THAT(apply(mouse("mouseMove", 0, 0)), ElementsAre(mouseEvent(dragged, {}, number, 1)));
    EXPECT_THAT(apply(button("mouseUp", name)), ElementsAre(mouseEvent(up, {}, number, 1)));
    EXPECT_THAT(controller.heldButtons(), IsEmpty());
  }
}

TEST_F(RemoteInputControllerTest, CallsTheNumbersOfTheSystem) {
  EXPECT_EQ(static_cast<int>(MouseEventType::leftMouseDown), 1);
  EXPECT_EQ(static_cast<int>(MouseEventType::leftMouseUp), 2);
  EXPECT_EQ(static_cast<int>(MouseEventType::rightMouseDown), 3);
  EXPECT_EQ(static_cast<int>(MouseEventType::rightMouseUp), 4);
  EXPECT_EQ(static_cast<int>(MouseEventType::mouseMoved), 5);
  EXPECT_EQ(static_cast<int>(MouseEventType::leftMouseDragged), 6);
  EXPECT_EQ(static_cast<int>(MouseEventType::rightMouseDragged), 7);
  EXPECT_EQ(static_cast<int>(MouseEventType::otherMouseDown), 25);
  EXPECT_EQ(static_cast<int>(MouseEventType::otherMouseUp), 26);
  EXPECT_EQ(static_cast<int>(MouseEventType::otherMouseDragged), 27);
  EXPECT_EQ(static_cast<int>(MouseButton::center), 2);
}

TEST_F(RemoteInputControllerTest, MovesWithoutAButtonAsTheLeftOne) {
  EXPECT_THAT(
      apply(mouse("mouseMove", 0.5, 0.5)),
      ElementsAre(mouseEvent(MouseEventType::mouseMoved, {959.5, 539.5}, MouseButton::left, 1)));
}

TEST_F(RemoteInputControllerTest, DragsTheFirstHeldButtonWithItsClickCount) {
  auto right = button("mouseDown", "right");
  right.append("clickCount", 3);
  controller.apply(button("mouseDown", "middle"));
  controller.apply(right);
  EXPECT_THAT(
      apply(mouse("mouseMove", 0, 0)),
      ElementsAre(mouseEvent(MouseEventType::rightMouseDragged, {}, MouseButton::right, 3)));
  controller.apply(button("mouseDown", "left"));
  EXPECT_THAT(apply(mouse("mouseMove", 0, 0)),
              ElementsAre(mouseEvent(MouseEventType::leftMouseDragged, {}, MouseButton::left, 1)));
}

TEST_F(RemoteInputControllerTest, AMoveDoesNotUseTheButtonAndCountItBrings) {
  auto event = button("mouseMove", "right");
  event.append("clickCount", 3);
  EXPECT_THAT(apply(event),
              ElementsAre(mouseEvent(MouseEventType::mouseMoved, {}, MouseButton::left, 1)));
  EXPECT_THAT(controller.heldButtons(), IsEmpty());
  EXPECT_THAT(controller.clickCounts(), IsEmpty());
}

TEST_F(RemoteInputControllerTest, AReleaseCarriesTheCountOfItsPress) {
  controller.apply(clicks("mouseDown", 2));
  EXPECT_THAT(apply(clicks("mouseUp", 3)),
              ElementsAre(mouseEvent(MouseEventType::leftMouseUp, {}, MouseButton::left, 2)));
  EXPECT_THAT(controller.clickCounts(), IsEmpty());
}

TEST_F(RemoteInputControllerTest, AReleaseWithoutAPressIsPostedAsASingleClick) {
  EXPECT_THAT(apply(clicks("mouseUp", 3)),
              ElementsAre(mouseEvent(MouseEventType::leftMouseUp, {}, MouseButton::left, 1)));
}

TEST_F(RemoteInputControllerTest, ASecondPressReplacesTheCount) {
  controller.apply(clicks("mouseDown", 1));
  controller.apply(clicks("mouseDown", 2));
  EXPECT_THAT(controller.heldButtons(), ElementsAre("left"));
  EXPECT_THAT(apply(mouse("mouseUp", 0, 0)),
              ElementsAre(mouseEvent(MouseEventType::leftMouseUp, {}, MouseButton::left, 2)));
}

TEST_F(RemoteInputControllerTest, TakesAnythingButAStringForTheLeftButton) {
  for (const Value& name : {Value(), Value(1), Value(true), Value(List{"right"})}) {
    EXPECT_THAT(apply(button("mouseUp", name)),
                ElementsAre(mouseEvent(MouseEventType::leftMouseUp, {}, MouseButton::left, 1)));
  }
}

TEST_F(RemoteInputControllerTest, RefusesButtonsItDoesNotKnow) {
  for (const auto* action : {"mouseMove", "mouseDown", "mouseUp"}) {
    for (const auto* name : {"center", "", "Left", "left ", "0"}) {
      expectRefused(button(action, name));
    }
  }
}

TEST_F(RemoteInputControllerTest, DropsTheFractionOfAClickCount) {
  controller.apply(clicks("mouseDown", 3.999));
  EXPECT_EQ(controller.clickCounts().at("left"), 3);
  controller.apply(clicks("mouseDown", 1.5));
  EXPECT_EQ(controller.clickCounts().at("left"), 1);
}

TEST_F(RemoteInputControllerTest, TakesWhatIsNoNumberForASingleClick) {
  for (const Value& count : {Value(), Value("2"), Value(true), Value(false), Value(List{2})}) {
    controller.apply(clicks("mouseDown", count));
    EXPECT_EQ(controller.clickCounts().at("left"), 1);
  }
}

TEST_F(RemoteInputControllerTest, RefusesClickCountsOutOfRange) {
  for (const auto* action : {"mouseMove", "mouseDown", "mouseUp"}) {
    for (const Value& count :
         {Value(0), Value(4), Value(-1), Value(0.99), Value(4.0), Value(nan), Value(infinity),
          Value(-infinity), Value(1e300), Value(integerMax), Value(integerMin)}) {
      expectRefused(clicks(action, count));
    }
  }
}

TEST_F(RemoteInputControllerTest, RefusesPlacesThatAreNotOnTheDisplay) {
  for (const auto* action : {"mouseMove", "mouseDown", "mouseUp"}) {
    for (const Value& place : {Value(1.0001), Value(-0.0001), Value(2), Value(-1), Value(nan),
                               Value(infinity), Value(-infinity), Value(integerMax)}) {
      expectRefused(mouse(action, place, 0));
      expectRefused(mouse(action, 0, place));
    }
  }
}

TEST_F(RemoteInputControllerTest, RefusesPlacesThatAreNoNumbers) {
  for (const auto* action : {"mouseMove", "mouseDown", "mouseUp"}) {
    expectRefused({{"action", action}});
    expectRefused({{"action", action}, {"x", 0}});
    expectRefused({{"action", action}, {"y", 0}});
    for (const Value& place : {Value(), Value("0"), Value(true), Value(false), Value(List{0})}) {
      expectRefused(mouse(action, place, 0));
      expectRefused(mouse(action, 0, place));
    }
  }
}

TEST_F(RemoteInputControllerTest, RefusesMouseEventsWithoutADisplay) {
  controller.apply(mouse("mouseDown", 1, 1));
  bounds.reset();
  for (const auto* action : {"mouseMove", "mouseDown", "mouseUp"}) {
    expectRefused(mouse(action, 0, 0));
  }
  bounds = Rect{{0, 0}, {0, 1080}};
  expectRefused(mouse("mouseMove", 0, 0));
}

TEST_F(RemoteInputControllerTest, AsksForTheDisplayAfreshBeforeAnythingElse) {
  boundsAsked = 0;
  controller.apply(mouse("mouseMove", 1, 1));
  EXPECT_EQ(controller.pointer(), (Point{1919, 1079}));
  bounds = Rect{{-1280, 0}, {1280, 1024}};
  controller.apply(mouse("mouseMove", 0, 1));
  EXPECT_EQ(controller.pointer(), (Point{-1280, 1023}));
  EXPECT_EQ(boundsAsked, 2);
  expectRefused(mouse("mouseMove", "no number", 0));
  EXPECT_EQ(boundsAsked, 3);
}

TEST_F(RemoteInputControllerTest, ScrollAndKeysNeedNoDisplay) {
  bounds.reset();
  EXPECT_EQ(apply(scroll(1, 1)).size(), 1U);
  EXPECT_EQ(apply(key("keyDown", 1)).size(), 1U);
  EXPECT_EQ(boundsAsked, 0);
}

TEST_F(RemoteInputControllerTest, MouseEventsCarryTheHeldModifiers) {
  controller.apply(key("keyDown", 55));
  EXPECT_THAT(apply(mouse("mouseDown", 0, 0)),
              ElementsAre(mouseEvent(MouseEventType::leftMouseDown, {}, MouseButton::left, 1,
                                     eventFlagMaskCommand)));
}

TEST_F(RemoteInputControllerTest, StaysTruthfulWhenTheSystemMakesNoMouseEvent) {
  system.makesEvents = false;
  EXPECT_THAT(apply(clicks("mouseDown", 2)), IsEmpty());
  EXPECT_THAT(controller.heldButtons(), ElementsAre("left"));
  EXPECT_THAT(apply(mouse("mouseMove", 1, 1)), IsEmpty());
  EXPECT_EQ(controller.pointer(), (Point{1919, 1079}));
  EXPECT_THAT(apply(mouse("mouseUp", 0, 0)), IsEmpty());
  EXPECT_THAT(controller.heldButtons(), IsEmpty());
  EXPECT_THAT(controller.clickCounts(), IsEmpty());
  EXPECT_EQ(system.eventsAsked, 3U);
}

// ---- scroll ----

TEST_F(RemoteInputControllerTest, ScrollsTheVerticalWheelByDyAndTheHorizontalByDx) {
  EXPECT_THAT(apply(scroll(-3, 120)), ElementsAre(scrollEvent(120, -3)));
  EXPECT_THAT(apply(scroll(0, 0)), ElementsAre(scrollEvent(0, 0)));
}

TEST_F(RemoteInputControllerTest, AcceptsDeltasUpToTheLimit) {
  EXPECT_THAT(apply(scroll(10000, -10000)), ElementsAre(scrollEvent(-10000, 10000)));
  EXPECT_THAT(apply(scroll(-10000.0, 10000.0)), ElementsAre(scrollEvent(10000, -10000)));
  for (const Value& delta :
       {Value(10000.5), Value(-10000.5), Value(10001), Value(-10001), Value(nan), Value(infinity),
        Value(-infinity), Value(integerMax), Value(integerMin)}) {
    expectRefused(scroll(delta, 0));
    expectRefused(scroll(0, delta));
  }
}

TEST_F(RemoteInputControllerTest, RoundsDeltasHalvesAwayFromZero) {
  EXPECT_THAT(apply(scroll(2.5, -2.5)), ElementsAre(scrollEvent(-3, 3)));
  EXPECT_THAT(apply(scroll(3.5, -3.5)), ElementsAre(scrollEvent(-4, 4)));
  EXPECT_THAT(apply(scroll(2.4999, -0.4999)), ElementsAre(scrollEvent(0, 2)));
  EXPECT_THAT(apply(scroll(0.49999999999999994, 0)), ElementsAre(scrollEvent(0, 0)));
}

TEST_F(RemoteInputControllerTest, RefusesDeltasThatAreNoNumbers) {
  expectRefused({{"action", "scroll"}});
  expectRefused({{"action", "scroll"}, {"dx", 1}});
  expectRefused({{"action", "scroll"}, {"dy", 1}});
  for (const Value& delta : {Value(), Value("1"), Value(true), Value(false), Value(List{1})}) {
    expectRefused(scroll(delta, 0));
    expectRefused(scroll(0, delta));
  }
}

TEST_F(RemoteInputControllerTest, ScrollingLeavesEverythingElseAlone) {
  controller.apply(clicks("mouseDown", 2));
  controller.apply(mouse("mouseMove", 1, 1));
  controller.apply(key("keyDown", 59));
  EXPECT_THAT(apply(scroll(1, 2)), ElementsAre(scrollEvent(2, 1, eventFlagMaskControl)));
  EXPECT_EQ(controller.pointer(), (Point{1919, 1079}));
  EXPECT_THAT(controller.heldButtons(), ElementsAre("left"));
  EXPECT_EQ(controller.clickCounts().at("left"), 2);
  system.makesEvents = false;
  EXPECT_THAT(apply(scroll(1, 2)), IsEmpty());
}

// ---- keys ----

TEST_F(RemoteInputControllerTest, AcceptsKeyCodesFromTheFirstToTheLast) {
  EXPECT_THAT(apply(key("keyDown", 0)), ElementsAre(keyEvent(0, true)));
  EXPECT_THAT(apply(key("keyUp", 0)), ElementsAre(keyEvent(0, false)));
  EXPECT_THAT(apply(key("keyDown", 127)), ElementsAre(keyEvent(127, true)));
  EXPECT_THAT(apply(key("keyDown", 12.0)), ElementsAre(keyEvent(12, true)));
  EXPECT_THAT(apply(key("keyDown", -0.0)), ElementsAre(keyEvent(0, true)));
  EXPECT_THAT(controller.heldKeys(), ElementsAre(0, 12, 127));
}

TEST_F(RemoteInputControllerTest, RefusesOtherKeyCodes) {
  for (const auto* action : {"keyDown", "keyUp"}) {
    expectRefused({{"action", action}});
    for (const Value& code :
         {Value(128), Value(-1), Value(1.5), Value(127.5), Value(nan), Value(infinity),
          Value(-infinity), Value(1e300), Value(integerMax), Value(integerMin), Value(), Value("0"),
          Value(true), Value(false), Value(List{0}), Value(std::vector<std::int32_t>{0})}) {
      expectRefused(key(action, code));
    }
  }
}

TEST_F(RemoteInputControllerTest, ARepeatedKeyDownIsPostedAgain) {
  controller.apply(key("keyDown", 12));
  EXPECT_THAT(apply(key("keyDown", 12)), ElementsAre(keyEvent(12, true)));
  EXPECT_THAT(controller.heldKeys(), ElementsAre(12));
  controller.apply(key("keyUp", 12));
  EXPECT_THAT(controller.heldKeys(), IsEmpty());
}

TEST_F(RemoteInputControllerTest, AKeyUpWithoutAKeyDownIsPosted) {
  EXPECT_THAT(apply(key("keyUp", 12)), ElementsAre(keyEvent(12, false)));
}

TEST_F(RemoteInputControllerTest, AModifierCarriesItsFlagGoingDownAndNotComingUp) {
  EXPECT_THAT(apply(key("keyDown", 56)), ElementsAre(keyEvent(56, true, eventFlagMaskShift)));
  EXPECT_THAT(apply(key("keyDown", 0)), ElementsAre(keyEvent(0, true, eventFlagMaskShift)));
  EXPECT_THAT(apply(key("keyUp", 56)), ElementsAre(keyEvent(56, false)));
}

TEST_F(RemoteInputControllerTest, EveryModifierKeySetsItsFlag) {
  struct Case {
    std::uint16_t code;
    EventFlags flag;
  };
  for (const auto& [code, flag] :
       {Case{56, 0x20000}, Case{60, 0x20000}, Case{59, 0x40000}, Case{62, 0x40000},
        Case{58, 0x80000}, Case{61, 0x80000}, Case{55, 0x100000}, Case{54, 0x100000}}) {
    EXPECT_THAT(apply(key("keyDown", code)), ElementsAre(keyEvent(code, true, flag)));
    EXPECT_THAT(apply(key("keyUp", code)), ElementsAre(keyEvent(code, false)));
  }
}

TEST_F(RemoteInputControllerTest, NoOtherKeySetsAFlag) {
  const std::set<int> modifierKeys = {54, 55, 56, 58, 59, 60, 61, 62};
  for (int code = 0; code <= 127; ++code) {
    if (modifierKeys.contains(code)) continue;
    const auto number = static_cast<std::uint16_t>(code);
    EXPECT_THAT(apply(key("keyDown", code)), ElementsAre(keyEvent(number, true)));
  }
}

TEST_F(RemoteInputControllerTest, AFlagStaysWhileEitherOfItsKeysIsHeld) {
  controller.apply(key("keyDown", 56));
  controller.apply(key("keyDown", 60));
  EXPECT_THAT(apply(key("keyUp", 56)), ElementsAre(keyEvent(56, false, eventFlagMaskShift)));
  EXPECT_THAT(apply(key("keyUp", 60)), ElementsAre(keyEvent(60, false)));
}

TEST_F(RemoteInputControllerTest, StaysTruthfulWhenTheSystemMakesNoKeyEvent) {
  system.makesEvents = false;
  EXPECT_THAT(apply(key("keyDown", 7)), IsEmpty());
  EXPECT_THAT(controller.heldKeys(), ElementsAre(7));
  EXPECT_THAT(apply(key("keyUp", 7)), IsEmpty());
  EXPECT_THAT(controller.heldKeys(), IsEmpty());
}

// ---- letting go ----

TEST_F(RemoteInputControllerTest, ReleasesNothingWhenNothingIsHeld) {
  EXPECT_THAT(releaseAll(), IsEmpty());
  EXPECT_EQ(system.eventsAsked, 0U);
}

TEST_F(RemoteInputControllerTest, ReleasesButtonsWithTheModifiersStillHeldAndThenTheKeys) {
  controller.apply(button("mouseDown", "right"));
  controller.apply(button("mouseDown", "left"));
  controller.apply(key("keyDown", 56));
  controller.apply(mouse("mouseMove", 0.5, 0.5));
  const Point last{959.5, 539.5};
  EXPECT_THAT(releaseAll(),
              ElementsAre(mouseEvent(MouseEventType::leftMouseUp, last, MouseButton::left,
                                     std::nullopt, eventFlagMaskShift),
                          mouseEvent(MouseEventType::rightMouseUp, last, MouseButton::right,
                                     std::nullopt, eventFlagMaskShift),
                          keyEvent(56, false)));
  EXPECT_EQ(controller.pointer(), last);
}

TEST_F(RemoteInputControllerTest, ReleasesButtonsInTheOrderOfTheirNames) {
  for (const auto* name : {"right", "middle", "left"}) controller.apply(button("mouseDown", name));
  EXPECT_THAT(releaseAll(),
              ElementsAre(mouseEvent(MouseEventType::leftMouseUp, {}, MouseButton::left, {}),
                          mouseEvent(MouseEventType::otherMouseUp, {}, MouseButton::center, {}),
                          mouseEvent(MouseEventType::rightMouseUp, {}, MouseButton::right, {})));
}

TEST_F(RemoteInputControllerTest, ReleasesKeysInTheOrderOfTheirCodes) {
  for (const int code : {55, 0, 12}) controller.apply(key("keyDown", code));
  EXPECT_THAT(releaseAll(),
              ElementsAre(keyEvent(0, false, eventFlagMaskCommand),
                          keyEvent(12, false, eventFlagMaskCommand), keyEvent(55, false)));
}

TEST_F(RemoteInputControllerTest, AReleasedModifierNoLongerCountsForTheNext) {
  controller.apply(key("keyDown", 55));
  controller.apply(key("keyDown", 56));
  EXPECT_THAT(releaseAll(),
              ElementsAre(keyEvent(55, false, eventFlagMaskShift), keyEvent(56, false)));
}

TEST_F(RemoteInputControllerTest, ReleasesOnceAndCanBeUsedAgain) {
  controller.apply(clicks("mouseDown", 3));
  controller.apply(key("keyDown", 12));
  controller.releaseAll();
  EXPECT_THAT(controller.heldButtons(), IsEmpty());
  EXPECT_THAT(controller.heldKeys(), IsEmpty());
  EXPECT_THAT(controller.clickCounts(), IsEmpty());
  EXPECT_THAT(releaseAll(), IsEmpty());
  EXPECT_THAT(apply(mouse("mouseMove", 0, 0)),
              ElementsAre(mouseEvent(MouseEventType::mouseMoved, {}, MouseButton::left, 1)));
}

TEST_F(RemoteInputControllerTest, ForgetsWhatItCannotRelease) {
  controller.apply(mouse("mouseDown", 0, 0));
  controller.apply(key("keyDown", 12));
  system.makesEvents = false;
  EXPECT_THAT(releaseAll(), IsEmpty());
  EXPECT_THAT(controller.heldButtons(), IsEmpty());
  EXPECT_THAT(controller.heldKeys(), IsEmpty());
}

TEST_F(RemoteInputControllerTest, ReleasesWithoutAskingForTheDisplay) {
  controller.apply(mouse("mouseDown", 1, 1));
  bounds.reset();
  boundsAsked = 0;
  EXPECT_THAT(releaseAll(), ElementsAre(mouseEvent(MouseEventType::leftMouseUp, {1919, 1079},
                                                   MouseButton::left, {})));
  EXPECT_EQ(boundsAsked, 0);
}

// ---- places ----

std::optional<Point> pointOn(Rect display, double x, double y) {
  return RemoteInputController::point(x, y, display);
}

TEST(RemoteInputPoint, MapsOneOntoTheLastPixel) {
  const Rect display{{0, 0}, {1920, 1080}};
  EXPECT_EQ(pointOn(display, 0, 0), (Point{0, 0}));
  EXPECT_EQ(pointOn(display, 1, 1), (Point{1919, 1079}));
}

TEST(RemoteInputPoint, KeepsItsFraction) {
  EXPECT_EQ(pointOn({{100, 200}, {1920, 1080}}, 0.5, 0.5), (Point{1059.5, 739.5}));
}

TEST(RemoteInputPoint, MapsEverythingOfASinglePixelOntoIt) {
  EXPECT_EQ(pointOn({{0, 0}, {1, 1}}, 1, 1), (Point{0, 0}));
  EXPECT_EQ(pointOn({{7, 8}, {0.5, 0.25}}, 1, 1), (Point{7, 8}));
}

TEST(RemoteInputPoint, FollowsDisplaysLeftOfTheMainOne) {
  const Rect display{{-1280, 0}, {1280, 1024}};
  EXPECT_EQ(pointOn(display, 0, 0), (Point{-1280, 0}));
  EXPECT_EQ(pointOn(display, 1, 1), (Point{-1, 1023}));
}

TEST(RemoteInputPoint, TakesANegativeSizeForTheOtherSideOfTheOrigin) {
  EXPECT_EQ(pointOn({{100, 50}, {-100, -50}}, 0, 0), (Point{0, 0}));
  EXPECT_EQ(pointOn({{100, 50}, {-100, -50}}, 1, 1), (Point{99, 49}));
}

TEST(RemoteInputPoint, HasNoPlaceBeyondTheEdges) {
  const Rect display{{0, 0}, {1920, 1080}};
  for (const double place : {1.0000001, -0.0000001, nan, infinity, -infinity, 1e300}) {
    EXPECT_EQ(pointOn(display, place, 0.5), std::nullopt) << place;
    EXPECT_EQ(pointOn(display, 0.5, place), std::nullopt) << place;
  }
}

TEST(RemoteInputPoint, TakesNegativeZeroForTheFirstPixel) {
  EXPECT_EQ(pointOn({{5, 6}, {10, 10}}, -0.0, -0.0), (Point{5, 6}));
}

TEST(RemoteInputPoint, HasNoPlaceOnADisplayWithoutExtent) {
  for (const double extent : {0.0, -0.0, nan}) {
    EXPECT_EQ(pointOn({{0, 0}, {extent, 10}}, 0, 0), std::nullopt) << extent;
    EXPECT_EQ(pointOn({{0, 0}, {10, extent}}, 0, 0), std::nullopt) << extent;
  }
}

}  // namespace
}  // namespace quorvin
