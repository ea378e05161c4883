#include "tests/macos/host/HostFixture.h"

#import <ApplicationServices/ApplicationServicesControl.h>
#import <CoreGraphics/CGDisplayControl.h>
#import <CoreGraphics/CGEventControl.h>

namespace quorvin {
namespace {

using standin::EventCreation;
using standin::KeyEvent;
using standin::MouseEvent;
using standin::PostedEvent;
using standin::ScrollEvent;
using standin::takePostedEvents;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::int64_t keyA = 0;
constexpr std::int64_t keyCommand = 55;
constexpr std::int64_t keyShift = 56;
constexpr CGEventFlags noFlags{};

// The display that a session captures lies to the left of the main one.
class InputTest : public HostFixture {
 protected:
  void SetUp() override {
    HostFixture::SetUp();
    showDisplay({.x = -240, .y = 30, .width = 240, .height = 150});
  }
  void TearDown() override {
    EXPECT_EQ(standin::liveEventObjects(), 0U);
    EXPECT_THAT(takePostedEvents(), IsEmpty());
    HostFixture::TearDown();
  }

  static void showDisplay(const standin::Display& captured) {
    standin::setDisplays({{3, {.width = 128, .height = 72}}, {7, captured}});
  }
  void inject(const Map& event) { EXPECT_EQ(answer("injectInput", event), nothing()); }
  FlutterReply refusal(const Value& arguments) { return answer("injectInput", arguments); }
  static void forgetPosted() { static_cast<void>(takePostedEvents()); }
  void stop() { EXPECT_EQ(answer("stopCapture"), nothing()); }

  static FlutterReply notAuthorized() {
    return error("input_not_authorized",
                 "Remote input is allowed only during an authorized session.");
  }
  static FlutterReply badInput(const std::string& message = "Invalid remote input.") {
    return error("bad_input", message);
  }

  static Map mouse(const std::string& action, double x, double y) {
    return {{"action", action}, {"x", x}, {"y", y}};
  }
  static Map mouse(const std::string& action, double x, double y, const std::string& button,
                   std::int64_t clickCount) {
    return {{"action", action}, {"x", x}, {"y", y}, {"button", button}, {"clickCount", clickCount}};
  }
  static Map key(const std::string& action, const Value& keyCode) {
    return {{"action", action}, {"keyCode", keyCode}};
  }
  static Map scroll(const Value& dx, const Value& dy) {
    return {{"action", "scroll"}, {"dx", dx}, {"dy", dy}};
  }

  static PostedEvent clicked(const MouseEvent& event, std::int64_t clickState,
                             CGEventFlags flags = noFlags) {
    return {.content = event, .fields = {{kCGMouseEventClickState, clickState}}, .flags = flags};
  }
  static PostedEvent typed(std::int64_t keyCode, bool isDown, CGEventFlags flags) {
    return {.content = KeyEvent{static_cast<CGKeyCode>(keyCode), isDown}, .flags = flags};
  }
  static PostedEvent letGo(const MouseEvent& event, CGEventFlags flags) {
    return {.content = event, .flags = flags};
  }

  // Of the calls since the last time, those for displays and events: "name: argument, argument".
  static std::vector<std::string> takeInputCalls() {
    std::vector<std::string> found;
    for (const auto& call : standin::calls()) {
      if (!call.name.starts_with("CGEvent") && !call.name.starts_with("CGDisplay")) continue;
      std::string text = call.name;
      for (const auto& argument : call.arguments)
        text += (text == call.name ? ": " : ", ") + argument;
      found.push_back(text);
    }
    standin::resetCallLog();
    return found;
  }
};

TEST_F(InputTest, PressesAButtonOnTheCapturedDisplay) {
  run([this] {
    startSession();
    standin::resetCallLog();
    inject(mouse("mouseDown", 0.5, 1, "right", 2));
    EXPECT_THAT(takeInputCalls(),
                ElementsAre("CGEventSourceCreate: 0", "CGDisplayIsActive: 7", "CGDisplayBounds: 7",
                            "CGEventCreateMouseEvent: source, 3, (-120.5, 179), 1",
                            "CGEventSetIntegerValueField: event, 1, 2",
                            "CGEventSetFlags: event, 0x0", "CGEventPost: 1, event"));
    EXPECT_THAT(
        takePostedEvents(),
        ElementsAre(clicked({kCGEventRightMouseDown, -120.5, 179, kCGMouseButtonRight}, 2)));
    inject(mouse("mouseUp", 0, 0, "right", 1));
    EXPECT_THAT(takeInputCalls(),
                ElementsAre("CGDisplayIsActive: 7", "CGDisplayBounds: 7",
                            "CGEventCreateMouseEvent: source, 4, (-240, 30), 1",
                            "CGEventSetIntegerValueField: event, 1, 2",
                            "CGEventSetFlags: event, 0x0", "CGEventPost: 1, event"));
    EXPECT_THAT(takePostedEvents(),
                ElementsAre(clicked({kCGEventRightMouseUp, -240, 30, kCGMouseButtonRight}, 2)));
    stop();
  });
}

TEST_F(InputTest, MovesAndDragsThePointer) {
  run([this] {
    startSession();
    inject(mouse("mouseMove", 0, 0));
    inject(mouse("mouseDown", 0, 0, "middle", 3));
    inject(mouse("mouseMove", 1, 1));
    inject(mouse("mouseUp", 1, 1, "middle", 3));
    EXPECT_THAT(takePostedEvents(),
                ElementsAre(clicked({kCGEventMouseMoved, -240, 30, kCGMouseButtonLeft}, 1),
                            clicked({kCGEventOtherMouseDown, -240, 30, kCGMouseButtonCenter}, 3),
                            clicked({kCGEventOtherMouseDragged, -1, 179, kCGMouseButtonCenter}, 3),
                            clicked({kCGEventOtherMouseUp, -1, 179, kCGMouseButtonCenter}, 3)));
    stop();
  });
}

TEST_F(InputTest, Scrolls) {
  run([this] {
    startSession();
    inject(key("keyDown", keyShift));
    standin::resetCallLog();
    inject(scroll(2.5, -10000));
    EXPECT_THAT(takeInputCalls(),
                ElementsAre("CGEventCreateScrollWheelEvent2: source, 0, 2, -10000, 3, 0",
                            "CGEventSetFlags: event, 0x20000", "CGEventPost: 1, event"));
    inject(key("keyUp", keyShift));
    EXPECT_THAT(
        takePostedEvents(),
        ElementsAre(typed(keyShift, true, kCGEventFlagMaskShift),
                    PostedEvent{.content = ScrollEvent{kCGScrollEventUnitPixel, {-10000, 3}},
                                .flags = kCGEventFlagMaskShift},
                    typed(keyShift, false, noFlags)));
    stop();
  });
}

TEST_F(InputTest, TypesWithTheModifiersThatAreHeld) {
  run([this] {
    startSession();
    inject(key("keyDown", keyCommand));
    inject(key("keyDown", keyShift));
    standin::resetCallLog();
    inject(key("keyDown", 12.0));
    EXPECT_THAT(takeInputCalls(),
                ElementsAre("CGEventCreateKeyboardEvent: source, 12, true",
                            "CGEventSetFlags: event, 0x120000", "CGEventPost: 1, event"));
    inject(key("keyUp", 12));
    inject(key("keyUp", keyShift));
    inject(key("keyUp", keyCommand));
    constexpr auto both = kCGEventFlagMaskCommand | kCGEventFlagMaskShift;
    EXPECT_THAT(takePostedEvents(),
                ElementsAre(typed(keyCommand, true, kCGEventFlagMaskCommand),
                            typed(keyShift, true, both), typed(12, true, both),
                            typed(12, false, both), typed(keyShift, false, kCGEventFlagMaskCommand),
                            typed(keyCommand, false, noFlags)));
    stop();
  });
}

TEST_F(InputTest, LetsGoOfEverythingOnRequest) {
  run([this] {
    startSession();
    inject(mouse("mouseDown", 0, 0, "right", 2));
    inject(mouse("mouseDown", 1, 1, "left", 1));
    inject(key("keyDown", keyShift));
    inject(key("keyDown", keyA));
    forgetPosted();
    EXPECT_EQ(answer("releaseInput"), nothing());
    EXPECT_THAT(
        takePostedEvents(),
        ElementsAre(
            letGo({kCGEventLeftMouseUp, -1, 179, kCGMouseButtonLeft}, kCGEventFlagMaskShift),
            letGo({kCGEventRightMouseUp, -1, 179, kCGMouseButtonRight}, kCGEventFlagMaskShift),
            typed(keyA, false, kCGEventFlagMaskShift), typed(keyShift, false, noFlags)));
    EXPECT_EQ(answer("releaseInput"), nothing());
    EXPECT_THAT(takePostedEvents(), IsEmpty());
    stop();
  });
}

TEST_F(InputTest, LetsGoWhileItIsToldToStop) {
  run([this] {
    startSession();
    inject(key("keyDown", keyA));
    forgetPosted();
    const auto reply = ui().call("com.quorvin.support/host", "stopCapture");
    EXPECT_THAT(takePostedEvents(), ElementsAre(typed(keyA, false, noFlags)));
    standin::settle();
    EXPECT_TRUE(reply->hasArrived);
  });
}

TEST_F(InputTest, LetsGoWhenTheSystemEndsTheSession) {
  run([this] {
    startSession();
    inject(key("keyDown", keyA));
    inject(mouse("mouseDown", 0, 0));
    forgetPosted();
    newestStream()->stopWithError({"com.example", 5, "The display went away."});
    standin::settle();
    EXPECT_THAT(takePostedEvents(),
                ElementsAre(letGo({kCGEventLeftMouseUp, -240, 30, kCGMouseButtonLeft}, noFlags),
                            typed(keyA, false, noFlags)));
    EXPECT_EQ(refusal(key("keyDown", keyA)), notAuthorized());
  });
}

TEST_F(InputTest, LetsGoWhenTheApplicationEnds) {
  run([this] {
    startSession();
    inject(key("keyDown", keyA));
    forgetPosted();
    [window() close];
  });
  EXPECT_THAT(takePostedEvents(), ElementsAre(typed(keyA, false, noFlags)));
}

TEST_F(InputTest, HoldsOnWhenASessionReplacesAnother) {
  run([this] {
    startSession();
    inject(key("keyDown", keyShift));
    forgetPosted();
    EXPECT_EQ(answer("startCapture", consent()), nothing());
    EXPECT_THAT(takePostedEvents(), IsEmpty());
    stop();
    EXPECT_THAT(takePostedEvents(), ElementsAre(typed(keyShift, false, noFlags)));
  });
}

TEST_F(InputTest, LetsNothingInWithoutASession) {
  run([this] {
    standin::resetCallLog();
    EXPECT_EQ(refusal(key("keyDown", keyA)), notAuthorized());
    EXPECT_EQ(refusal(Value()), notAuthorized());
    EXPECT_EQ(answer("releaseInput"), nothing());
    startSession();
    stop();
    EXPECT_EQ(refusal(key("keyDown", keyA)), notAuthorized());
    EXPECT_THAT(takeInputCalls(), ElementsAre("CGEventSourceCreate: 0"));
  });
}

TEST_F(InputTest, LetsNothingInOnceAccessibilityIsWithdrawn) {
  run([this] {
    startSession();
    inject(key("keyDown", keyA));
    forgetPosted();
    standin::setProcessTrusted(false);
    EXPECT_EQ(refusal(key("keyDown", 1)), notAuthorized());
    EXPECT_THAT(takePostedEvents(), IsEmpty());
    EXPECT_EQ(answer("releaseInput"), nothing());
    EXPECT_THAT(takePostedEvents(), ElementsAre(typed(keyA, false, noFlags)));
    standin::setProcessTrusted(true);
    inject(key("keyUp", keyA));
    EXPECT_THAT(takePostedEvents(), ElementsAre(typed(keyA, false, noFlags)));
    stop();
  });
}

TEST_F(InputTest, FollowsTheDisplay) {
  run([this] {
    startSession();
    showDisplay({.x = 1000, .y = -50, .width = 101, .height = 51});
    inject(mouse("mouseMove", 1, 0.5));
    EXPECT_THAT(takePostedEvents(),
                ElementsAre(clicked({kCGEventMouseMoved, 1100, -25, kCGMouseButtonLeft}, 1)));
    showDisplay({.isActive = false, .width = 240, .height = 150});
    EXPECT_EQ(refusal(mouse("mouseMove", 0, 0)), badInput());
    standin::setDisplays({});
    EXPECT_EQ(refusal(mouse("mouseDown", 0, 0)), badInput());
    EXPECT_THAT(takePostedEvents(), IsEmpty());
    inject(scroll(0, 1));
    EXPECT_THAT(takePostedEvents(),
                ElementsAre(PostedEvent{.content = ScrollEvent{kCGScrollEventUnitPixel, {1, 0}},
                                        .flags = noFlags}));
    stop();
  });
}

TEST_F(InputTest, KnowsNoDisplayWhileASessionStarts) {
  run([this] {
    standin::holdAnswers();
    call("startCapture", consent());
    EXPECT_EQ(refusal(mouse("mouseMove", 0, 0)), badInput());
    inject(key("keyDown", keyA));
    EXPECT_THAT(takePostedEvents(), ElementsAre(typed(keyA, true, noFlags)));
    stop();
    EXPECT_THAT(takePostedEvents(), ElementsAre(typed(keyA, false, noFlags)));
    standin::releaseAnswers();
    standin::settle();
  });
}

TEST_F(InputTest, RefusesWhatIsNoInput) {
  run([this] {
    startSession();
    const auto noEvent = badInput("Invalid input event.");
    EXPECT_EQ(refusal(Value()), noEvent);
    EXPECT_EQ(refusal(List{"keyDown"}), noEvent);
    EXPECT_EQ(refusal(Map{{"action", 5}}), noEvent);
    EXPECT_EQ(refusal(Map{{"action", "keyDown"}, {1, 2}}), noEvent);
    EXPECT_EQ(refusal(Map{{"action", "KeyDown"}, {"keyCode", 1}}), badInput());
    EXPECT_EQ(refusal(key("keyDown", 128)), badInput());
    EXPECT_EQ(refusal(key("keyDown", 1.5)), badInput());
    EXPECT_EQ(refusal(mouse("mouseMove", 1.0001, 0)), badInput());
    EXPECT_EQ(refusal(scroll(0, 10000.5)), badInput());
    EXPECT_THAT(takePostedEvents(), IsEmpty());
    stop();
    EXPECT_THAT(takePostedEvents(), IsEmpty());
  });
}

// Foundation makes numbers of them.
TEST_F(InputTest, TakesNoBooleansForNumbers) {
  run([this] {
    startSession();
    EXPECT_EQ(refusal(key("keyDown", true)), badInput());
    EXPECT_EQ(refusal(scroll(false, 0)), badInput());
    EXPECT_EQ(refusal(Map{{"action", "mouseMove"}, {"x", true}, {"y", 0}}), badInput());
    stop();
  });
}

TEST_F(InputTest, GoesOnWhenTheSystemMakesNoEvent) {
  run([this] {
    startSession();
    standin::failNext(EventCreation::source);
    standin::failNext(EventCreation::keyboard);
    standin::failNext(EventCreation::mouse);
    standin::failNext(EventCreation::scrollWheel);
    inject(key("keyDown", keyA));
    inject(mouse("mouseDown", 0, 0));
    inject(scroll(1, 1));
    EXPECT_THAT(takePostedEvents(), IsEmpty());
    stop();
    auto button = letGo({kCGEventLeftMouseUp, -240, 30, kCGMouseButtonLeft}, noFlags);
    auto key = typed(keyA, false, noFlags);
    button.source = key.source = std::nullopt;
    EXPECT_THAT(takePostedEvents(), ElementsAre(button, key));
  });
}

}  // namespace
}  // namespace quorvin
