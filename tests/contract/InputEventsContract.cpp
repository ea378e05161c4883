#include "tests/contract/InputEventsContract.h"

#include <array>

namespace quorvin::contract {

namespace {

constexpr std::uint16_t keyA = 0;
constexpr std::uint16_t keyReturn = 36;
constexpr std::uint16_t keyShift = 56;
constexpr std::uint16_t keyRightShift = 60;
constexpr std::uint16_t keyLeftArrow = 123;

constexpr DisplayID noDisplay = 987'654'321;
constexpr Rect firstBounds{{0, 0}, {320, 480}};
constexpr Rect secondBounds{{320, 40}, {300, 200}};

struct ButtonEvents {
  MouseButton button;
  MouseEventType down;
  MouseEventType dragged;
  MouseEventType up;
};

constexpr std::array<ButtonEvents, 3> allButtons{
    {{MouseButton::left, MouseEventType::leftMouseDown, MouseEventType::leftMouseDragged,
      MouseEventType::leftMouseUp},
     {MouseButton::right, MouseEventType::rightMouseDown, MouseEventType::rightMouseDragged,
      MouseEventType::rightMouseUp},
     {MouseButton::center, MouseEventType::otherMouseDown, MouseEventType::otherMouseDragged,
      MouseEventType::otherMouseUp}}};

using Buttons = std::vector<MouseButton>;
using Keys = std::vector<std::uint16_t>;

}  // namespace

void InputEventsContract::mouse(MouseEventType type, Point position, MouseButton button) {
  const auto event = inputEvents().createMouseEvent(source, type, position, button);
  ASSERT_NE(event, nullptr);
  event->setIntegerValueField(EventField::mouseEventClickState, 1);
  post(event);
}

void InputEventsContract::scroll(std::int32_t up, std::int32_t left) {
  post(inputEvents().createScrollWheelEvent(source, ScrollEventUnit::pixel, 2, up, left, 0));
}

void InputEventsContract::key(std::uint16_t virtualKey, bool isDown) {
  post(inputEvents().createKeyboardEvent(source, virtualKey, isDown));
}

void InputEventsContract::post(const std::shared_ptr<InputEvent>& event) {
  ASSERT_NE(event, nullptr);
  event->setFlags(flags);
  inputEvents().post(EventTapLocation::session, event);
}

TEST_P(InputEventsContract, MoveThePointer) {
  mouse(MouseEventType::mouseMoved, {17, 23});
  EXPECT_EQ(world->takeSeen().pointer, (Point{17, 23}));
  mouse(MouseEventType::mouseMoved, {0, 0});
  EXPECT_EQ(world->takeSeen().pointer, (Point{0, 0}));
}

TEST_P(InputEventsContract, MoveWithoutPressing) {
  mouse(MouseEventType::mouseMoved, {17, 23});
  const auto seen = world->takeSeen();
  EXPECT_EQ(seen.buttonsPressed, Buttons{});
  EXPECT_EQ(seen.buttonsReleased, Buttons{});
  EXPECT_EQ(seen.keysPressed, Keys{});
}

TEST_P(InputEventsContract, PressAndReleaseEachButtonWhereTheySay) {
  for (const auto& each : allButtons) {
    mouse(each.down, {30, 40}, each.button);
    auto seen = world->takeSeen();
    EXPECT_EQ(seen.pointer, (Point{30, 40}));
    EXPECT_EQ(seen.buttonsPressed, Buttons{each.button});
    EXPECT_EQ(seen.buttonsReleased, Buttons{});

    mouse(each.up, {50, 60}, each.button);
    seen = world->takeSeen();
    EXPECT_EQ(seen.pointer, (Point{50, 60}));
    EXPECT_EQ(seen.buttonsPressed, Buttons{});
    EXPECT_EQ(seen.buttonsReleased, Buttons{each.button});
  }
}

TEST_P(InputEventsContract, DragWithTheButtonHeld) {
  for (const auto& each : allButtons) {
    mouse(each.down, {30, 40}, each.button);
    (void)world->takeSeen();

    mouse(each.dragged, {35, 45}, each.button);
    const auto seen = world->takeSeen();
    EXPECT_EQ(seen.pointer, (Point{35, 45}));
    EXPECT_EQ(seen.buttonsPressed, Buttons{});
    EXPECT_EQ(seen.buttonsReleased, Buttons{});
    mouse(each.up, {35, 45}, each.button);
    (void)world->takeSeen();
  }
}

TEST_P(InputEventsContract, ClickTwice) {
  for (std::int64_t count = 1; count <= 2; ++count) {
    for (const auto type : {MouseEventType::leftMouseDown, MouseEventType::leftMouseUp}) {
      const auto event = inputEvents().createMouseEvent(source, type, {30, 40}, MouseButton::left);
      event->setIntegerValueField(EventField::mouseEventClickState, count);
      post(event);
    }
  }
  const auto seen = world->takeSeen();
  EXPECT_EQ(seen.buttonsPressed, (Buttons{MouseButton::left, MouseButton::left}));
  EXPECT_EQ(seen.buttonsReleased, (Buttons{MouseButton::left, MouseButton::left}));
}

TEST_P(InputEventsContract, PressAndReleaseKeys) {
  for (const auto code : {keyA, keyReturn, keyLeftArrow}) {
    key(code, true);
    auto seen = world->takeSeen();
    EXPECT_EQ(seen.keysPressed, Keys{code});
    EXPECT_EQ(seen.keysReleased, Keys{});

    key(code, false);
    seen = world->takeSeen();
    EXPECT_EQ(seen.keysPressed, Keys{});
    EXPECT_EQ(seen.keysReleased, Keys{code});
  }
}

TEST_P(InputEventsContract, TellLeftModifiersFromRightOnes) {
  flags = eventFlagMaskShift;
  key(keyShift, true);
  EXPECT_EQ(world->takeSeen().keysPressed, Keys{keyShift});
  key(keyRightShift, true);
  EXPECT_EQ(world->takeSeen().keysPressed, Keys{keyRightShift});
  key(keyShift, false);
  EXPECT_EQ(world->takeSeen().keysReleased, Keys{keyShift});
  flags = 0;
  key(keyRightShift, false);
  EXPECT_EQ(world->takeSeen().keysReleased, Keys{keyRightShift});
}

TEST_P(InputEventsContract, KeepAModifierWhileAnotherKeyIsTyped) {
  flags = eventFlagMaskShift;
  key(keyShift, true);
  key(keyA, true);
  key(keyA, false);
  const auto seen = world->takeSeen();
  EXPECT_EQ(seen.keysPressed, (Keys{keyShift, keyA}));
  EXPECT_EQ(seen.keysReleased, Keys{keyA});
  flags = 0;
  key(keyShift, false);
  EXPECT_EQ(world->takeSeen().keysReleased, Keys{keyShift});
}

TEST_P(InputEventsContract, RepeatAKeyThatIsHeld) {
  key(keyA, true);
  key(keyA, true);
  key(keyA, true);
  EXPECT_EQ(world->takeSeen().keysPressed, (Keys{keyA, keyA, keyA}));
  key(keyA, false);
  EXPECT_EQ(world->takeSeen().keysReleased.back(), keyA);
}

TEST_P(InputEventsContract, ScrollUpAndToTheLeft) {
  scroll(200, 0);
  auto seen = world->takeSeen();
  EXPECT_EQ(seen.scrolledUp, 200);
  EXPECT_EQ(seen.scrolledLeft, 0);
  scroll(-100, 300);
  seen = world->takeSeen();
  EXPECT_EQ(seen.scrolledUp, -100);
  EXPECT_EQ(seen.scrolledLeft, 300);
}

TEST_P(InputEventsContract, ScrollNoMoreAndNoLessThanAllEventsTogether) {
  for (int event = 0; event < 40; ++event) scroll(25, -15);
  const auto seen = world->takeSeen();
  EXPECT_EQ(seen.scrolledUp, 1000);
  EXPECT_EQ(seen.scrolledLeft, -600);
}

TEST_P(InputEventsContract, ScrollWherePointerIs) {
  mouse(MouseEventType::mouseMoved, {17, 23});
  scroll(100, 0);
  EXPECT_EQ(world->takeSeen().pointer, (Point{17, 23}));
}

TEST_P(InputEventsContract, DoNothingBeforeTheyArePosted) {
  mouse(MouseEventType::mouseMoved, {17, 23});
  (void)world->takeSeen();
  const auto press =
      inputEvents().createMouseEvent(source, MouseEventType::leftMouseDown, {1, 1}, {});
  const auto type = inputEvents().createKeyboardEvent(source, keyA, true);
  const auto turn =
      inputEvents().createScrollWheelEvent(source, ScrollEventUnit::pixel, 2, 100, 100, 0);
  const auto seen = world->takeSeen();
  EXPECT_EQ(seen.pointer, (Point{17, 23}));
  EXPECT_EQ(seen.buttonsPressed, Buttons{});
  EXPECT_EQ(seen.keysPressed, Keys{});
  EXPECT_EQ(seen.scrolledUp, 0);
}

TEST_P(InputEventsContract, NeedNoSource) {
  source = nullptr;
  mouse(MouseEventType::mouseMoved, {17, 23});
  key(keyA, true);
  key(keyA, false);
  scroll(100, 0);
  const auto seen = world->takeSeen();
  EXPECT_EQ(seen.pointer, (Point{17, 23}));
  EXPECT_EQ(seen.keysPressed, Keys{keyA});
  EXPECT_EQ(seen.scrolledUp, 100);
}

TEST_P(InputEventsContract, KnowEachDisplay) {
  const auto first = world->connectDisplay(firstBounds);
  const auto second = world->connectDisplay(secondBounds);
  EXPECT_TRUE(inputEvents().displayIsActive(first));
  EXPECT_TRUE(inputEvents().displayIsActive(second));
  EXPECT_EQ(inputEvents().displayBounds(first), firstBounds);
  EXPECT_EQ(inputEvents().displayBounds(second), secondBounds);
}

TEST_P(InputEventsContract, KnowNothingOfADisplayThatDoesNotExist) {
  (void)world->connectDisplay(firstBounds);
  EXPECT_FALSE(inputEvents().displayIsActive(noDisplay));
  EXPECT_EQ(inputEvents().displayBounds(noDisplay), Rect{});
}

TEST_P(InputEventsContract, FollowADisplay) {
  const auto display = world->connectDisplay(firstBounds);
  EXPECT_EQ(inputEvents().displayBounds(display), firstBounds);
  world->moveDisplay(display, secondBounds);
  EXPECT_TRUE(inputEvents().displayIsActive(display));
  EXPECT_EQ(inputEvents().displayBounds(display), secondBounds);
  world->disconnectDisplay(display);
  EXPECT_FALSE(inputEvents().displayIsActive(display));
  EXPECT_EQ(inputEvents().displayBounds(display), Rect{});
}

TEST_P(InputEventsContract, ReachTheDisplayThatIsNotTheFirst) {
  (void)world->connectDisplay(firstBounds);
  const auto second = world->connectDisplay(secondBounds);
  const Rect bounds = inputEvents().displayBounds(second);
  const Point lastPixel{bounds.origin.x + bounds.size.width - 1,
                        bounds.origin.y + bounds.size.height - 1};
  mouse(MouseEventType::mouseMoved, lastPixel);
  EXPECT_EQ(world->takeSeen().pointer, lastPixel);
}

TEST_P(PixelScrollContract, ScrollsByASinglePixel) {
  scroll(1, -1);
  const auto seen = world->takeSeen();
  EXPECT_EQ(seen.scrolledUp, 1);
  EXPECT_EQ(seen.scrolledLeft, -1);
}

TEST_P(NegativeDisplayContract, ReachesADisplayLeftOfTheOrigin) {
  const Rect bounds{{-1280, -100}, {1280, 1024}};
  const auto display = world->connectDisplay(bounds);
  EXPECT_EQ(inputEvents().displayBounds(display), bounds);
  mouse(MouseEventType::mouseMoved, {-1280, -100});
  EXPECT_EQ(world->takeSeen().pointer, (Point{-1280, -100}));
}

}  // namespace quorvin::contract
