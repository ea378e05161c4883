#import "platform/macos/InputEvents.h"

#include <gtest/gtest.h>

#include "platform/macos/ScreenCapture.h"

namespace quorvin {
namespace {

// The contract of input is left out here, since it posts. What is done here the user of
// this Mac does not notice.

constexpr DisplayID noDisplay = 987'654'321;

TEST(MacInputEventsTest, MakesEventsOfEveryKind) {
  MacInputEvents input;
  const auto source = input.createSource(EventSourceState::combinedSession);
  EXPECT_NE(source, nullptr);
  for (const auto& from : {source, std::shared_ptr<EventSource>()}) {
    const auto click = input.createMouseEvent(from, MouseEventType::otherMouseDown, {-10.5, 20},
                                              MouseButton::center);
    ASSERT_NE(click, nullptr);
    click->setIntegerValueField(EventField::mouseEventClickState, 2);
    click->setFlags(eventFlagMaskShift | eventFlagMaskCommand);
    const auto turn = input.createScrollWheelEvent(from, ScrollEventUnit::pixel, 2, -3, 4, 0);
    ASSERT_NE(turn, nullptr);
    turn->setFlags(0);
    for (const bool isDown : {true, false}) {
      EXPECT_NE(input.createKeyboardEvent(from, 127, isDown), nullptr);
    }
  }
}

TEST(MacInputEventsTest, FindsTheMainDisplayAtTheOrigin) {
  const auto display = MacScreenCapture().mainScreenNumber();
  if (!display) GTEST_SKIP() << "This Mac has no screen.";
  MacInputEvents input;
  EXPECT_TRUE(input.displayIsActive(*display));
  const auto bounds = input.displayBounds(*display);
  EXPECT_EQ(bounds.origin, Point());
  EXPECT_GT(bounds.size.width, 0);
  EXPECT_GT(bounds.size.height, 0);
}

TEST(MacInputEventsTest, KnowsNothingOfADisplayThatDoesNotExist) {
  MacInputEvents input;
  EXPECT_FALSE(input.displayIsActive(noDisplay));
  EXPECT_EQ(input.displayBounds(noDisplay), Rect());
}

}  // namespace
}  // namespace quorvin
