#import <CoreGraphics/CGEvent.h>
#import <CoreGraphics/CGEventScript.h>
#import <CoreGraphics/CGEventSource.h>
#import <CoreGraphics/StandInEvent.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <sstream>
#include <string>
#include <utility>

#include "tests/macos/standin/CallLog.h"

using standin::EventCreation;
using standin::violation;

namespace {

constexpr std::uint32_t mostWheels = 3;
constexpr CGEventFlags knownFlags = kCGEventFlagMaskShift | kCGEventFlagMaskControl |
                                    kCGEventFlagMaskAlternate | kCGEventFlagMaskCommand;
constexpr std::array mouseTypes{
    kCGEventLeftMouseDown,     kCGEventLeftMouseUp,    kCGEventRightMouseDown,
    kCGEventRightMouseUp,      kCGEventMouseMoved,     kCGEventLeftMouseDragged,
    kCGEventRightMouseDragged, kCGEventOtherMouseDown, kCGEventOtherMouseUp,
    kCGEventOtherMouseDragged,
};

// The system lets them come from any thread, the product keeps to one.
void begin(const char* operation, std::vector<std::string> arguments) {
  standin::record(operation, std::move(arguments));
  standin::requireMainThread(operation);
}

// Records a violation unless the condition holds.
bool require(bool condition, const char* operation, const char* otherwise) {
  if (!condition) violation(std::string(operation) + ": " + otherwise);
  return condition;
}

std::string describe(CGEventSourceRef source) { return source == nullptr ? "NULL" : "source"; }

std::string describe(CGEventRef event) { return event == nullptr ? "NULL" : "event"; }

std::string describe(CGPoint point) {
  std::ostringstream text;
  text << "(" << point.x << ", " << point.y << ")";
  return text.str();
}

std::string describe(CGEventFlags flags) {
  std::ostringstream text;
  text << "0x" << std::hex << flags;
  return text.str();
}

template <typename Number>
std::string number(Number value) {
  return std::to_string(value);
}

CGEventRef make(const char* operation, EventCreation creation, CGEventSourceRef source,
                const standin::EventContent& content) {
  std::optional<CGEventSourceStateID> state;
  if (source != nullptr) {
    StandInEventSource* object = [StandInEventSource objectFor:source operation:operation];
    if (object == nil) return nullptr;
    state = object.state;
  }
  if (standin::creationFails(creation)) return nullptr;
  return (__bridge_retained CGEventRef)[[StandInEvent alloc] initWithContent:content source:state];
}

bool isKnown(CGEventType type) { return std::ranges::find(mouseTypes, type) != mouseTypes.end(); }

// A wheel that the event does not have is one that the program believes to have turned.
bool unusedStandStill(std::uint32_t wheelCount,
                      const std::array<std::int32_t, mostWheels>& wheels) {
  return std::ranges::all_of(wheels.begin() + wheelCount, wheels.end(),
                             [](std::int32_t wheel) { return wheel == 0; });
}

bool isMouseEvent(StandInEvent* event) {
  return std::holds_alternative<standin::MouseEvent>(event.event.content);
}

}  // namespace

CGEventSourceRef CGEventSourceCreate(CGEventSourceStateID stateID) {
  constexpr auto operation = "CGEventSourceCreate";
  begin(operation, {number(stateID)});
  if (!require(stateID == kCGEventSourceStateCombinedSessionState, operation, "unknown state")) {
    return nullptr;
  }
  if (standin::creationFails(EventCreation::source)) return nullptr;
  return (__bridge_retained CGEventSourceRef)[[StandInEventSource alloc] initWithState:stateID];
}

CGEventRef CGEventCreateMouseEvent(CGEventSourceRef source, CGEventType mouseType,
                                   CGPoint mouseCursorPosition, CGMouseButton mouseButton) {
  constexpr auto operation = "CGEventCreateMouseEvent";
  begin(operation,
        {describe(source), number(mouseType), describe(mouseCursorPosition), number(mouseButton)});
  const auto& [x, y] = mouseCursorPosition;
  if (!require(isKnown(mouseType), operation, "no type of a mouse event") ||
      !require(mouseButton <= kCGMouseButtonCenter, operation, "unknown button") ||
      !require(std::isfinite(x) && std::isfinite(y), operation, "no place anywhere")) {
    return nullptr;
  }
  return make(operation, EventCreation::mouse, source,
              standin::MouseEvent{mouseType, x, y, mouseButton});
}

CGEventRef CGEventCreateKeyboardEvent(CGEventSourceRef source, CGKeyCode virtualKey, bool keyDown) {
  constexpr auto operation = "CGEventCreateKeyboardEvent";
  begin(operation, {describe(source), number(virtualKey), keyDown ? "true" : "false"});
  return make(operation, EventCreation::keyboard, source, standin::KeyEvent{virtualKey, keyDown});
}

CGEventRef CGEventCreateScrollWheelEvent2(CGEventSourceRef source, CGScrollEventUnit units,
                                          uint32_t wheelCount, int32_t wheel1, int32_t wheel2,
                                          int32_t wheel3) {
  constexpr auto operation = "CGEventCreateScrollWheelEvent2";
  begin(operation, {describe(source), number(units), number(wheelCount), number(wheel1),
                    number(wheel2), number(wheel3)});
  const std::array wheels{wheel1, wheel2, wheel3};
  if (!require(units == kCGScrollEventUnitPixel, operation, "unknown units") ||
      !require(wheelCount >= 1 && wheelCount <= mostWheels, operation, "no such wheel count") ||
      !require(unusedStandStill(wheelCount, wheels), operation, "a wheel beyond the count turns")) {
    return nullptr;
  }
  return make(operation, EventCreation::scrollWheel, source,
              standin::ScrollEvent{units, {wheels.begin(), wheels.begin() + wheelCount}});
}

CGEventFlags CGEventGetFlags(CGEventRef event) {
  constexpr auto operation = "CGEventGetFlags";
  begin(operation, {describe(event)});
  StandInEvent* object = [StandInEvent objectFor:event operation:operation];
  return object == nil ? 0 : object.event.flags.value_or(standin::flagsOfNewEvents);
}

void CGEventSetFlags(CGEventRef event, CGEventFlags flags) {
  constexpr auto operation = "CGEventSetFlags";
  begin(operation, {describe(event), describe(flags)});
  StandInEvent* object = [StandInEvent objectFor:event operation:operation];
  if (require((flags & ~knownFlags) == 0, operation, "unknown flags")) [object setFlags:flags];
}

void CGEventSetIntegerValueField(CGEventRef event, CGEventField field, int64_t value) {
  constexpr auto operation = "CGEventSetIntegerValueField";
  begin(operation, {describe(event), number(field), number(value)});
  StandInEvent* object = [StandInEvent objectFor:event operation:operation];
  if (object == nil || !require(field == kCGMouseEventClickState, operation, "unknown field") ||
      !require(isMouseEvent(object), operation, "an event without clicks")) {
    return;
  }
  [object setField:field toInteger:value];
}

void CGEventPost(CGEventTapLocation tap, CGEventRef event) {
  constexpr auto operation = "CGEventPost";
  begin(operation, {number(tap), describe(event)});
  StandInEvent* object = [StandInEvent objectFor:event operation:operation];
  if (object == nil || !require(tap == kCGSessionEventTap, operation, "unknown tap")) return;
  auto posted = object.event;
  posted.tap = tap;
  standin::keepPosted(posted);
}
