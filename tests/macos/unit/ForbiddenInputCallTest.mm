#import <CoreGraphics/CGEventControl.h>
#import <CoreGraphics/CoreGraphics.h>
#import <CoreGraphics/CoreGraphicsControl.h>

#include <gmock/gmock.h>

#include <limits>
#include <string>

#include "tests/macos/standin/StandInTest.h"

namespace standin {
namespace {

using testing::AllOf;
using testing::Each;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

constexpr auto nowhere = std::numeric_limits<double>::infinity();

class ForbiddenInputCall : public StandInTest {
 protected:
  void TearDown() override {
    resetCoreGraphics();
    EXPECT_EQ(liveEventObjects(), 0U);
    StandInTest::TearDown();
  }

  static CGEventRef mouseEvent(CGEventSourceRef source = nullptr) {
    return CGEventCreateMouseEvent(source, kCGEventLeftMouseDown, {1.5, -2}, kCGMouseButtonLeft);
  }
  static CGEventRef keyEvent() { return CGEventCreateKeyboardEvent(nullptr, 12, true); }
  static CGEventRef scrollEvent(std::uint32_t wheelCount) {
    return CGEventCreateScrollWheelEvent2(nullptr, kCGScrollEventUnitPixel, wheelCount, 3, -4, 0);
  }
  // An event of each kind, without a source.
  static std::vector<EventContent> contents() {
    return {MouseEvent{kCGEventLeftMouseDown, 1.5, -2, kCGMouseButtonLeft}, KeyEvent{12, true},
            ScrollEvent{kCGScrollEventUnitPixel, {3, -4}}};
  }
};

TEST_F(ForbiddenInputCall, CountsWhatIsAlive) {
  CGEventSourceRef source = CGEventSourceCreate(kCGEventSourceStateCombinedSessionState);
  CGEventRef event = mouseEvent(source);
  EXPECT_EQ(liveEventObjects(), 2U);
  CFRelease(source);
  EXPECT_EQ(liveEventObjects(), 1U);
  CFRelease(event);
}

TEST_F(ForbiddenInputCall, WantsTheMainThread) {
  onSystemThread([] {
    CGEventSourceRef source = CGEventSourceCreate(kCGEventSourceStateCombinedSessionState);
    CGEventRef event = mouseEvent(source);
    CGEventSetFlags(event, CGEventFlags{});
    CGEventSetIntegerValueField(event, kCGMouseEventClickState, 1);
    CGEventPost(kCGSessionEventTap, event);
    CFRelease(event);
    CFRelease(source);
    CFRelease(keyEvent());
    CFRelease(scrollEvent(2));
  });
  settle();
  EXPECT_THAT(takeViolations(), SizeIs(7));
}

TEST_F(ForbiddenInputCall, MindsAnEventThatDoesNotExist) {
  CGEventRef event = mouseEvent();
  CFRelease(event);
  for (auto* none : {event, CGEventRef(nullptr)}) {
    CGEventSetFlags(none, CGEventFlags{});
    CGEventSetIntegerValueField(none, kCGMouseEventClickState, 1);
    CGEventPost(kCGSessionEventTap, none);
    EXPECT_THAT(takeViolations(), AllOf(SizeIs(3), Each(HasSubstr("no CGEvent, or was released"))));
  }
  EXPECT_THAT(takePostedEvents(), IsEmpty());
}

TEST_F(ForbiddenInputCall, MindsASourceThatWasReleased) {
  CGEventSourceRef source = CGEventSourceCreate(kCGEventSourceStateCombinedSessionState);
  CFRelease(source);
  EXPECT_EQ(mouseEvent(source), nullptr);
  EXPECT_THAT(takeViolations(), ElementsAre(HasSubstr("no CGEventSource, or was released")));
}

TEST_F(ForbiddenInputCall, MindsNumbersThatMeanNothing) {
  EXPECT_EQ(CGEventSourceCreate(CGEventSourceStateID{7}), nullptr);
  EXPECT_THAT(takeViolations(), ElementsAre(EndsWith("unknown state")));
  EXPECT_EQ(CGEventCreateMouseEvent(nullptr, CGEventType{10}, {0, 0}, kCGMouseButtonLeft), nullptr);
  EXPECT_THAT(takeViolations(), ElementsAre(EndsWith("no type of a mouse event")));
  EXPECT_EQ(CGEventCreateMouseEvent(nullptr, kCGEventMouseMoved, {0, 0}, CGMouseButton{3}),
            nullptr);
  EXPECT_THAT(takeViolations(), ElementsAre(EndsWith("unknown button")));
  EXPECT_EQ(CGEventCreateMouseEvent(nullptr, kCGEventMouseMoved, {0, nowhere}, kCGMouseButtonLeft),
            nullptr);
  EXPECT_THAT(takeViolations(), ElementsAre(EndsWith("no place anywhere")));
  EXPECT_EQ(CGEventCreateScrollWheelEvent2(nullptr, CGScrollEventUnit{2}, 1, 0, 0, 0), nullptr);
  EXPECT_THAT(takeViolations(), ElementsAre(EndsWith("unknown units")));
}

TEST_F(ForbiddenInputCall, MindsWheelsThatTheEventDoesNotHave) {
  EXPECT_EQ(scrollEvent(1), nullptr);
  EXPECT_THAT(takeViolations(), ElementsAre(EndsWith("a wheel beyond the count turns")));
  for (const auto count : {0U, 4U}) EXPECT_EQ(scrollEvent(count), nullptr);
  EXPECT_THAT(takeViolations(), AllOf(SizeIs(2), Each(EndsWith("no such wheel count"))));
  CGEventRef event = scrollEvent(3);
  EXPECT_NE(event, nullptr);
  CFRelease(event);
}

TEST_F(ForbiddenInputCall, MindsFieldsFlagsAndTapsThatItDoesNotKnow) {
  CGEventRef event = mouseEvent();
  CGEventSetIntegerValueField(event, CGEventField{200}, 1);
  CGEventSetFlags(event, CGEventFlags{1});
  CGEventPost(CGEventTapLocation{3}, event);
  CFRelease(event);
  EXPECT_THAT(takeViolations(), ElementsAre(EndsWith("unknown field"), EndsWith("unknown flags"),
                                            EndsWith("unknown tap")));
  EXPECT_THAT(takePostedEvents(), IsEmpty());
}

TEST_F(ForbiddenInputCall, MindsClicksOfWhatCannotClick) {
  CGEventRef event = keyEvent();
  CGEventSetIntegerValueField(event, kCGMouseEventClickState, 1);
  CFRelease(event);
  EXPECT_THAT(takeViolations(), ElementsAre(EndsWith("an event without clicks")));
}

TEST_F(ForbiddenInputCall, SaysWhatAnEventIs) {
  PostedEvent event{.content = contents()[0],
                    .fields = {{kCGMouseEventClickState, 2}},
                    .flags = kCGEventFlagMaskShift};
  EXPECT_EQ(testing::PrintToString(event),
            "mouse event 1 at (1.5, -2) of button 0, field 1 = 2, flags 20000, source of state 0, "
            "tap 1");
  event = {.content = contents()[1], .source = std::nullopt};
  EXPECT_EQ(testing::PrintToString(event), "key 12 down, no source, tap 1");
  event = {.content = contents()[2]};
  EXPECT_EQ(testing::PrintToString(event),
            "scroll event in units 0 of wheels 3 -4, source of state 0, tap 1");
}

}  // namespace
}  // namespace standin
