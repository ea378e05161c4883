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

class CGEventTest : public StandInTest {
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

TEST_F(CGEventTest, KeepsWhatIsPosted) {
  for (auto* event : {mouseEvent(), keyEvent(), scrollEvent(2)}) {
    CGEventPost(kCGSessionEventTap, event);
    CFRelease(event);
  }
  std::vector<EventContent> posted;
  for (const auto& event : takePostedEvents()) {
    posted.push_back(event.content);
    EXPECT_THAT(event.fields, IsEmpty());
    EXPECT_EQ(event.flags, std::nullopt);
    EXPECT_EQ(event.source, std::nullopt);
    EXPECT_EQ(event.tap, kCGSessionEventTap);
  }
  EXPECT_EQ(posted, contents());
  EXPECT_THAT(takePostedEvents(), IsEmpty());
}

TEST_F(CGEventTest, KeepsAnEventAsItStandsWhenItIsPosted) {
  CGEventSourceRef source = CGEventSourceCreate(kCGEventSourceStateCombinedSessionState);
  CGEventRef event = mouseEvent(source);
  CFRelease(source);
  CGEventSetIntegerValueField(event, kCGMouseEventClickState, 1);
  CGEventSetFlags(event, kCGEventFlagMaskShift);
  CGEventPost(kCGSessionEventTap, event);
  CGEventSetIntegerValueField(event, kCGMouseEventClickState, 2);
  CGEventSetFlags(event, CGEventFlags{});
  CGEventPost(kCGSessionEventTap, event);
  CFRelease(event);
  const PostedEvent first{.content = contents()[0],
                          .fields = {{kCGMouseEventClickState, 1}},
                          .flags = kCGEventFlagMaskShift};
  PostedEvent second = first;
  second.fields = {{kCGMouseEventClickState, 2}};
  second.flags = CGEventFlags{};
  EXPECT_THAT(takePostedEvents(), ElementsAre(first, second));
}

TEST_F(CGEventTest, WritesCallsDownWithTheirArguments) {
  CGEventSourceRef source = CGEventSourceCreate(kCGEventSourceStateCombinedSessionState);
  CGEventRef event = mouseEvent(source);
  CGEventSetFlags(event, kCGEventFlagMaskCommand);
  CGEventSetIntegerValueField(event, kCGMouseEventClickState, 3);
  CGEventPost(kCGSessionEventTap, event);
  CFRelease(scrollEvent(2));
  CFRelease(keyEvent());
  CFRelease(event);
  CFRelease(source);
  EXPECT_THAT(
      calls(),
      ElementsAre(
          Call{"CGEventSourceCreate", {"0"}, "", true},
          Call{"CGEventCreateMouseEvent", {"source", "1", "(1.5, -2)", "0"}, "", true},
          Call{"CGEventSetFlags", {"event", "0x100000"}, "", true},
          Call{"CGEventSetIntegerValueField", {"event", "1", "3"}, "", true},
          Call{"CGEventPost", {"1", "event"}, "", true},
          Call{"CGEventCreateScrollWheelEvent2", {"NULL", "0", "2", "3", "-4", "0"}, "", true},
          Call{"CGEventCreateKeyboardEvent", {"NULL", "12", "true"}, "", true}));
}

TEST_F(CGEventTest, MakesNothingWhenTheTestSaysSo) {
  failNext(EventCreation::source);
  failNext(EventCreation::mouse);
  failNext(EventCreation::keyboard, 2);
  failNext(EventCreation::scrollWheel);
  EXPECT_EQ(CGEventSourceCreate(kCGEventSourceStateCombinedSessionState), nullptr);
  EXPECT_EQ(mouseEvent(), nullptr);
  EXPECT_EQ(keyEvent(), nullptr);
  EXPECT_EQ(keyEvent(), nullptr);
  EXPECT_EQ(scrollEvent(2), nullptr);
  CGEventRef event = keyEvent();
  EXPECT_NE(event, nullptr);
  CFRelease(event);
}

TEST_F(CGEventTest, CountsWhatIsAlive) {
  CGEventSourceRef source = CGEventSourceCreate(kCGEventSourceStateCombinedSessionState);
  CGEventRef event = mouseEvent(source);
  EXPECT_EQ(liveEventObjects(), 2U);
  CFRelease(source);
  EXPECT_EQ(liveEventObjects(), 1U);
  CFRelease(event);
}

TEST_F(CGEventTest, ForgetsEverythingWithAReset) {
  CGEventRef event = keyEvent();
  CGEventPost(kCGSessionEventTap, event);
  CFRelease(event);
  failNext(EventCreation::keyboard);
  resetCoreGraphics();
  EXPECT_THAT(takePostedEvents(), IsEmpty());
  event = keyEvent();
  EXPECT_NE(event, nullptr);
  CFRelease(event);
}

TEST_F(CGEventTest, WantsTheMainThread) {
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

TEST_F(CGEventTest, MindsAnEventThatDoesNotExist) {
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

TEST_F(CGEventTest, MindsASourceThatWasReleased) {
  CGEventSourceRef source = CGEventSourceCreate(kCGEventSourceStateCombinedSessionState);
  CFRelease(source);
  EXPECT_EQ(mouseEvent(source), nullptr);
  EXPECT_THAT(takeViolations(), ElementsAre(HasSubstr("no CGEventSource, or was released")));
}

TEST_F(CGEventTest, MindsNumbersThatMeanNothing) {
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

TEST_F(CGEventTest, MindsWheelsThatTheEventDoesNotHave) {
  EXPECT_EQ(scrollEvent(1), nullptr);
  EXPECT_THAT(takeViolations(), ElementsAre(EndsWith("a wheel beyond the count turns")));
  for (const auto count : {0U, 4U}) EXPECT_EQ(scrollEvent(count), nullptr);
  EXPECT_THAT(takeViolations(), AllOf(SizeIs(2), Each(EndsWith("no such wheel count"))));
  CGEventRef event = scrollEvent(3);
  EXPECT_NE(event, nullptr);
  CFRelease(event);
}

TEST_F(CGEventTest, MindsFieldsFlagsAndTapsThatItDoesNotKnow) {
  CGEventRef event = mouseEvent();
  CGEventSetIntegerValueField(event, CGEventField{200}, 1);
  CGEventSetFlags(event, CGEventFlags{1});
  CGEventPost(CGEventTapLocation{3}, event);
  CFRelease(event);
  EXPECT_THAT(takeViolations(), ElementsAre(EndsWith("unknown field"), EndsWith("unknown flags"),
                                            EndsWith("unknown tap")));
  EXPECT_THAT(takePostedEvents(), IsEmpty());
}

TEST_F(CGEventTest, MindsClicksOfWhatCannotClick) {
  CGEventRef event = keyEvent();
  CGEventSetIntegerValueField(event, kCGMouseEventClickState, 1);
  CFRelease(event);
  EXPECT_THAT(takeViolations(), ElementsAre(EndsWith("an event without clicks")));
}

TEST_F(CGEventTest, SaysWhatAnEventIs) {
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
