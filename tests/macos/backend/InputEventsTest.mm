#import "platform/macos/InputEvents.h"

#import <CoreGraphics/CGDisplayControl.h>
#import <CoreGraphics/CGEventControl.h>

#include <gmock/gmock.h>

#include <array>
#include <limits>
#include <string>
#include <vector>

#include "tests/macos/backend/SystemTest.h"

namespace quorvin {
namespace {

using standin::EventCreation;
using standin::PostedEvent;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr auto smallest = std::numeric_limits<std::int32_t>::min();
constexpr auto largest = std::numeric_limits<std::int32_t>::max();

class ForeignSource final : public EventSource {};
class ForeignEvent final : public InputEvent {
 public:
  void setIntegerValueField(EventField /*field*/, std::int64_t /*value*/) override {}
  void setFlags(EventFlags /*flags*/) override {}
};

class InputEventsTest : public SystemTest {
 protected:
  void TearDown() override {
    source.reset();
    EXPECT_EQ(standin::liveEventObjects(), 0U);
    SystemTest::TearDown();
  }

  void makeSource() {
    source = input.createSource(EventSourceState::combinedSession);
    standin::resetCallLog();
  }
  [[nodiscard]] std::shared_ptr<InputEvent> makeMouseEvent() {
    return input.createMouseEvent(source, MouseEventType::leftMouseDown, {10.5, -20},
                                  MouseButton::left);
  }
  [[nodiscard]] std::shared_ptr<InputEvent> makeScrollWheelEvent() {
    return input.createScrollWheelEvent(source, ScrollEventUnit::pixel, 2, -3, 4, 0);
  }
  [[nodiscard]] std::shared_ptr<InputEvent> makeKeyboardEvent() {
    return input.createKeyboardEvent(source, 56, true);
  }
  void post(const std::shared_ptr<InputEvent>& event) {
    input.post(EventTapLocation::session, event);
  }

  // The one call that the last operation came to, with its arguments.
  static std::vector<std::string> onlyCall() {
    const auto calls = standin::calls();
    EXPECT_EQ(calls.size(), 1U);
    std::vector<std::string> call{calls.at(0).name};
    for (const auto& argument : calls[0].arguments) call.push_back(argument);
    standin::resetCallLog();
    return call;
  }

  MacInputEvents input;
  std::shared_ptr<EventSource> source;
};

// Ends the process in one of its own, since this one may have threads.
class InputEventsDeathTest : public InputEventsTest {
 protected:
  void SetUp() override {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    InputEventsTest::SetUp();
  }
};

TEST_F(InputEventsTest, MakesASourceOfTheStateThatIsNamed) {
  EXPECT_NE(input.createSource(EventSourceState::combinedSession), nullptr);
  EXPECT_THAT(onlyCall(), ElementsAre("CGEventSourceCreate", "0"));
}

TEST_F(InputEventsTest, MakesMouseEventsOfEveryTypeAndButton) {
  makeSource();
  struct Case {
    MouseEventType type;
    MouseButton button;
    CGEventType expectedType;
    CGMouseButton expectedButton;
  };
  constexpr std::array cases{
      Case{MouseEventType::leftMouseDown, MouseButton::left, kCGEventLeftMouseDown,
           kCGMouseButtonLeft},
      Case{MouseEventType::leftMouseUp, MouseButton::left, kCGEventLeftMouseUp, kCGMouseButtonLeft},
      Case{MouseEventType::rightMouseDown, MouseButton::right, kCGEventRightMouseDown,
           kCGMouseButtonRight},
      Case{MouseEventType::rightMouseUp, MouseButton::right, kCGEventRightMouseUp,
           kCGMouseButtonRight},
      Case{MouseEventType::mouseMoved, MouseButton::left, kCGEventMouseMoved, kCGMouseButtonLeft},
      Case{MouseEventType::leftMouseDragged, MouseButton::left, kCGEventLeftMouseDragged,
           kCGMouseButtonLeft},
      Case{MouseEventType::rightMouseDragged, MouseButton::right, kCGEventRightMouseDragged,
           kCGMouseButtonRight},
      Case{MouseEventType::otherMouseDown, MouseButton::center, kCGEventOtherMouseDown,
           kCGMouseButtonCenter},
      Case{MouseEventType::otherMouseUp, MouseButton::center, kCGEventOtherMouseUp,
           kCGMouseButtonCenter},
      Case{MouseEventType::otherMouseDragged, MouseButton::center, kCGEventOtherMouseDragged,
           kCGMouseButtonCenter},
  };
  for (const auto& [type, button, expectedType, expectedButton] : cases) {
    post(input.createMouseEvent(source, type, {-1280.25, 99.5}, button));
    EXPECT_THAT(standin::takePostedEvents(), ElementsAre(PostedEvent{standin::MouseEvent{
                                                 expectedType, -1280.25, 99.5, expectedButton}}));
  }
}

TEST_F(InputEventsTest, HandsAMouseEventsArgumentsOnInOrder) {
  makeSource();
  EXPECT_NE(makeMouseEvent(), nullptr);
  EXPECT_THAT(onlyCall(),
              ElementsAre("CGEventCreateMouseEvent", "source", "1", "(10.5, -20)", "0"));
}

TEST_F(InputEventsTest, HandsAScrollEventsArgumentsOnInOrder) {
  makeSource();
  EXPECT_NE(makeScrollWheelEvent(), nullptr);
  EXPECT_THAT(onlyCall(),
              ElementsAre("CGEventCreateScrollWheelEvent2", "source", "0", "2", "-3", "4", "0"));
  EXPECT_NE(input.createScrollWheelEvent(source, ScrollEventUnit::pixel, 3, smallest, largest, 7),
            nullptr);
  EXPECT_THAT(onlyCall(), ElementsAre("CGEventCreateScrollWheelEvent2", "source", "0", "3",
                                      "-2147483648", "2147483647", "7"));
}

TEST_F(InputEventsTest, HandsAKeyboardEventsArgumentsOnInOrder) {
  makeSource();
  EXPECT_NE(makeKeyboardEvent(), nullptr);
  EXPECT_THAT(onlyCall(), ElementsAre("CGEventCreateKeyboardEvent", "source", "56", "true"));
  EXPECT_NE(input.createKeyboardEvent(source, 0xFFFF, false), nullptr);
  EXPECT_THAT(onlyCall(), ElementsAre("CGEventCreateKeyboardEvent", "source", "65535", "false"));
}

TEST_F(InputEventsTest, MakesEventsWithoutASource) {
  for (const auto& event : {makeMouseEvent(), makeScrollWheelEvent(), makeKeyboardEvent()}) {
    ASSERT_NE(event, nullptr);
  }
  for (const auto& call : standin::calls()) EXPECT_EQ(call.arguments.at(0), "NULL");
}

TEST_F(InputEventsTest, SetsClicksAndFlagsOnTheEvent) {
  const auto event = makeMouseEvent();
  standin::resetCallLog();
  event->setIntegerValueField(EventField::mouseEventClickState, 3);
  EXPECT_THAT(onlyCall(), ElementsAre("CGEventSetIntegerValueField", "event", "1", "3"));
  event->setFlags(eventFlagMaskShift | eventFlagMaskControl | eventFlagMaskAlternate |
                  eventFlagMaskCommand);
  EXPECT_THAT(onlyCall(), ElementsAre("CGEventSetFlags", "event", "0x1e0000"));
  event->setFlags(0);
  EXPECT_THAT(onlyCall(), ElementsAre("CGEventSetFlags", "event", "0x0"));
}

TEST_F(InputEventsTest, PostsWhatItMade) {
  makeSource();
  const auto event = makeMouseEvent();
  event->setIntegerValueField(EventField::mouseEventClickState, 2);
  event->setFlags(eventFlagMaskCommand);
  standin::resetCallLog();
  post(event);
  EXPECT_THAT(onlyCall(), ElementsAre("CGEventPost", "1", "event"));
  EXPECT_THAT(standin::takePostedEvents(),
              ElementsAre(PostedEvent{.content = standin::MouseEvent{kCGEventLeftMouseDown, 10.5,
                                                                     -20, kCGMouseButtonLeft},
                                      .fields = {{kCGMouseEventClickState, 2}},
                                      .flags = kCGEventFlagMaskCommand}));
}

TEST_F(InputEventsTest, PostsAnEventAsOftenAsItIsTold) {
  const auto event = makeKeyboardEvent();
  event->setFlags(eventFlagMaskShift);
  post(event);
  event->setFlags(0);
  post(event);
  const auto keyDown = [](CGEventFlags flags) {
    return PostedEvent{.content = standin::KeyEvent{56, true}, .flags = flags, .source = {}};
  };
  EXPECT_THAT(standin::takePostedEvents(),
              ElementsAre(keyDown(kCGEventFlagMaskShift), keyDown(CGEventFlags{})));
}

TEST_F(InputEventsTest, HasNothingWhenTheSystemMakesNothing) {
  standin::failNext(EventCreation::source);
  EXPECT_EQ(input.createSource(EventSourceState::combinedSession), nullptr);
  standin::failNext(EventCreation::mouse);
  EXPECT_EQ(makeMouseEvent(), nullptr);
  EXPECT_NE(makeMouseEvent(), nullptr);
  standin::failNext(EventCreation::scrollWheel);
  EXPECT_EQ(makeScrollWheelEvent(), nullptr);
  EXPECT_NE(makeScrollWheelEvent(), nullptr);
  standin::failNext(EventCreation::keyboard);
  EXPECT_EQ(makeKeyboardEvent(), nullptr);
  EXPECT_NE(makeKeyboardEvent(), nullptr);
  EXPECT_THAT(standin::takePostedEvents(), IsEmpty());
}

TEST_F(InputEventsTest, OwnsWhatItMakes) {
  makeSource();
  EXPECT_EQ(standin::liveEventObjects(), 1U);
  auto event = makeMouseEvent();
  EXPECT_EQ(standin::liveEventObjects(), 2U);
  source.reset();
  EXPECT_EQ(standin::liveEventObjects(), 1U);
  post(event);
  EXPECT_EQ(standin::liveEventObjects(), 1U);
  event.reset();
  EXPECT_EQ(standin::liveEventObjects(), 0U);
}

TEST_F(InputEventsTest, AsksWhetherADisplayIsActive) {
  standin::setDisplays({{7, {.width = 1, .height = 1}}, {8, {.isActive = false}}});
  EXPECT_TRUE(input.displayIsActive(7));
  EXPECT_THAT(onlyCall(), ElementsAre("CGDisplayIsActive", "7"));
  EXPECT_FALSE(input.displayIsActive(8));
  EXPECT_FALSE(input.displayIsActive(0xFFFF'FFFFU));
}

TEST_F(InputEventsTest, AsksWhereADisplayIs) {
  standin::setDisplays({{7, {.x = -1280, .y = 20.5, .width = 1280, .height = 1024}}});
  EXPECT_EQ(input.displayBounds(7), (Rect{{-1280, 20.5}, {1280, 1024}}));
  EXPECT_THAT(onlyCall(), ElementsAre("CGDisplayBounds", "7"));
  EXPECT_EQ(input.displayBounds(8), Rect());
}

TEST_F(InputEventsTest, LeavesARectangleAsItIs) {
  standin::setDisplays({{7, {.x = 100, .y = 50, .width = -100, .height = -50}}});
  EXPECT_EQ(input.displayBounds(7), (Rect{{100, 50}, {-100, -50}}));
}

TEST_F(InputEventsDeathTest, TakesNothingOfAnotherMaker) {
  source = std::make_shared<ForeignSource>();
  EXPECT_DEATH((void)makeKeyboardEvent(), "a source of another maker");
  EXPECT_DEATH(post(std::make_shared<ForeignEvent>()), "no event, or another maker's");
  EXPECT_DEATH(post(nullptr), "no event, or another maker's");
}

}  // namespace
}  // namespace quorvin
