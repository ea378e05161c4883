#include "tests/unit/runner/RemoteInputControllerTest.h"

namespace quorvin {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using RemoteInputMouseTest = RemoteInputControllerTest;

TEST_F(RemoteInputMouseTest, PressesTheLeftButtonAtTheFirstPixel) {
  EXPECT_THAT(apply(mouse("mouseDown", 0, 0)),
              ElementsAre(mouseEvent(MouseEventType::leftMouseDown, {0, 0}, MouseButton::left, 1)));
  EXPECT_THAT(controller.heldButtons(), ElementsAre("left"));
}

TEST_F(RemoteInputMouseTest, PressesTheRightButtonTwiceAtTheLastPixel) {
  auto event = mouse("mouseDown", 1, 1);
  event.append("button", "right");
  event.append("clickCount", 2);
  EXPECT_THAT(apply(event), ElementsAre(mouseEvent(MouseEventType::rightMouseDown, {1919, 1079},
                                                   MouseButton::right, 2)));
}

TEST_F(RemoteInputMouseTest, NamesEveryButtonsEvents) {
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

TEST_F(RemoteInputMouseTest, CallsTheNumbersOfTheSystem) {
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

TEST_F(RemoteInputMouseTest, MovesWithoutAButtonAsTheLeftOne) {
  EXPECT_THAT(
      apply(mouse("mouseMove", 0.5, 0.5)),
      ElementsAre(mouseEvent(MouseEventType::mouseMoved, {959.5, 539.5}, MouseButton::left, 1)));
}

TEST_F(RemoteInputMouseTest, DragsTheFirstHeldButtonWithItsClickCount) {
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

TEST_F(RemoteInputMouseTest, AMoveDoesNotUseTheButtonAndCountItBrings) {
  auto event = button("mouseMove", "right");
  event.append("clickCount", 3);
  EXPECT_THAT(apply(event),
              ElementsAre(mouseEvent(MouseEventType::mouseMoved, {}, MouseButton::left, 1)));
  EXPECT_THAT(controller.heldButtons(), IsEmpty());
  EXPECT_THAT(controller.clickCounts(), IsEmpty());
}

TEST_F(RemoteInputMouseTest, AReleaseCarriesTheCountOfItsPress) {
  controller.apply(clicks("mouseDown", 2));
  EXPECT_THAT(apply(clicks("mouseUp", 3)),
              ElementsAre(mouseEvent(MouseEventType::leftMouseUp, {}, MouseButton::left, 2)));
  EXPECT_THAT(controller.clickCounts(), IsEmpty());
}

TEST_F(RemoteInputMouseTest, AReleaseWithoutAPressIsPostedAsASingleClick) {
  EXPECT_THAT(apply(clicks("mouseUp", 3)),
              ElementsAre(mouseEvent(MouseEventType::leftMouseUp, {}, MouseButton::left, 1)));
}

TEST_F(RemoteInputMouseTest, ASecondPressReplacesTheCount) {
  controller.apply(clicks("mouseDown", 1));
  controller.apply(clicks("mouseDown", 2));
  EXPECT_THAT(controller.heldButtons(), ElementsAre("left"));
  EXPECT_THAT(apply(mouse("mouseUp", 0, 0)),
              ElementsAre(mouseEvent(MouseEventType::leftMouseUp, {}, MouseButton::left, 2)));
}

TEST_F(RemoteInputMouseTest, TakesAnythingButAStringForTheLeftButton) {
  for (const Value& name : {Value(), Value(1), Value(true), Value(List{"right"})}) {
    EXPECT_THAT(apply(button("mouseUp", name)),
                ElementsAre(mouseEvent(MouseEventType::leftMouseUp, {}, MouseButton::left, 1)));
  }
}

TEST_F(RemoteInputMouseTest, RefusesButtonsItDoesNotKnow) {
  for (const auto* action : {"mouseMove", "mouseDown", "mouseUp"}) {
    for (const auto* name : {"center", "", "Left", "left ", "0"}) {
      expectRefused(button(action, name));
    }
  }
}

TEST_F(RemoteInputMouseTest, DropsTheFractionOfAClickCount) {
  controller.apply(clicks("mouseDown", 3.999));
  EXPECT_EQ(controller.clickCounts().at("left"), 3);
  controller.apply(clicks("mouseDown", 1.5));
  EXPECT_EQ(controller.clickCounts().at("left"), 1);
}

TEST_F(RemoteInputMouseTest, TakesWhatIsNoNumberForASingleClick) {
  for (const Value& count : {Value(), Value("2"), Value(true), Value(false), Value(List{2})}) {
    controller.apply(clicks("mouseDown", count));
    EXPECT_EQ(controller.clickCounts().at("left"), 1);
  }
}

TEST_F(RemoteInputMouseTest, RefusesClickCountsOutOfRange) {
  for (const auto* action : {"mouseMove", "mouseDown", "mouseUp"}) {
    for (const Value& count :
         {Value(0), Value(4), Value(-1), Value(0.99), Value(4.0), Value(nan), Value(infinity),
          Value(-infinity), Value(1e300), Value(integerMax), Value(integerMin)}) {
      expectRefused(clicks(action, count));
    }
  }
}

TEST_F(RemoteInputMouseTest, RefusesPlacesThatAreNotOnTheDisplay) {
  for (const auto* action : {"mouseMove", "mouseDown", "mouseUp"}) {
    for (const Value& place : {Value(1.0001), Value(-0.0001), Value(2), Value(-1), Value(nan),
                               Value(infinity), Value(-infinity), Value(integerMax)}) {
      expectRefused(mouse(action, place, 0));
      expectRefused(mouse(action, 0, place));
    }
  }
}

TEST_F(RemoteInputMouseTest, RefusesPlacesThatAreNoNumbers) {
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

TEST_F(RemoteInputMouseTest, RefusesMouseEventsWithoutADisplay) {
  controller.apply(mouse("mouseDown", 1, 1));
  bounds.reset();
  for (const auto* action : {"mouseMove", "mouseDown", "mouseUp"}) {
    expectRefused(mouse(action, 0, 0));
  }
  bounds = Rect{{0, 0}, {0, 1080}};
  expectRefused(mouse("mouseMove", 0, 0));
}

TEST_F(RemoteInputMouseTest, AsksForTheDisplayAfreshBeforeAnythingElse) {
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

TEST_F(RemoteInputMouseTest, ScrollAndKeysNeedNoDisplay) {
  bounds.reset();
  EXPECT_EQ(apply(scroll(1, 1)).size(), 1U);
  EXPECT_EQ(apply(key("keyDown", 1)).size(), 1U);
  EXPECT_EQ(boundsAsked, 0);
}

TEST_F(RemoteInputMouseTest, MouseEventsCarryTheHeldModifiers) {
  controller.apply(key("keyDown", 55));
  EXPECT_THAT(apply(mouse("mouseDown", 0, 0)),
              ElementsAre(mouseEvent(MouseEventType::leftMouseDown, {}, MouseButton::left, 1,
                                     eventFlagMaskCommand)));
}

TEST_F(RemoteInputMouseTest, StaysTruthfulWhenTheSystemMakesNoMouseEvent) {
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

}  // namespace
}  // namespace quorvin
