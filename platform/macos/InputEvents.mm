#import "platform/macos/InputEvents.h"

#import <CoreFoundation/CoreFoundation.h>
#import <CoreGraphics/CoreGraphics.h>

#include <cstdint>
#include <type_traits>
#include <utility>

#include "platform/Fatal.h"

namespace quorvin {
namespace {

// The seam's numbers go to the system as they are.
template <auto ours, auto systems>
constexpr bool isSame = static_cast<std::int64_t>(ours) == static_cast<std::int64_t>(systems);
static_assert(isSame<EventSourceState::combinedSession, kCGEventSourceStateCombinedSessionState>);
static_assert(isSame<MouseEventType::leftMouseDown, kCGEventLeftMouseDown>);
static_assert(isSame<MouseEventType::leftMouseUp, kCGEventLeftMouseUp>);
static_assert(isSame<MouseEventType::rightMouseDown, kCGEventRightMouseDown>);
static_assert(isSame<MouseEventType::rightMouseUp, kCGEventRightMouseUp>);
static_assert(isSame<MouseEventType::mouseMoved, kCGEventMouseMoved>);
static_assert(isSame<MouseEventType::leftMouseDragged, kCGEventLeftMouseDragged>);
static_assert(isSame<MouseEventType::rightMouseDragged, kCGEventRightMouseDragged>);
static_assert(isSame<MouseEventType::otherMouseDown, kCGEventOtherMouseDown>);
static_assert(isSame<MouseEventType::otherMouseUp, kCGEventOtherMouseUp>);
static_assert(isSame<MouseEventType::otherMouseDragged, kCGEventOtherMouseDragged>);
static_assert(isSame<MouseButton::left, kCGMouseButtonLeft>);
static_assert(isSame<MouseButton::right, kCGMouseButtonRight>);
static_assert(isSame<MouseButton::center, kCGMouseButtonCenter>);
static_assert(isSame<ScrollEventUnit::pixel, kCGScrollEventUnitPixel>);
static_assert(isSame<EventField::mouseEventClickState, kCGMouseEventClickState>);
static_assert(isSame<EventTapLocation::session, kCGSessionEventTap>);
static_assert(isSame<eventFlagMaskShift, kCGEventFlagMaskShift>);
static_assert(isSame<eventFlagMaskControl, kCGEventFlagMaskControl>);
static_assert(isSame<eventFlagMaskAlternate, kCGEventFlagMaskAlternate>);
static_assert(isSame<eventFlagMaskCommand, kCGEventFlagMaskCommand>);

struct Release {
  void operator()(CFTypeRef object) const { CFRelease(object); }
};
// Owns what a function whose name says Create has returned.
template <typename Reference>
using Owned = std::unique_ptr<std::remove_pointer_t<Reference>, Release>;

class MacEventSource final : public EventSource {
 public:
  explicit MacEventSource(Owned<CGEventSourceRef> source) : source(std::move(source)) {}

  [[nodiscard]] CGEventSourceRef eventSource() const { return source.get(); }

 private:
  Owned<CGEventSourceRef> source;
};

class MacInputEvent final : public InputEvent {
 public:
  explicit MacInputEvent(Owned<CGEventRef> event) : created(std::move(event)) {}

  void setIntegerValueField(EventField field, std::int64_t value) override {
    CGEventSetIntegerValueField(event(), static_cast<CGEventField>(field), value);
  }
  void setFlags(EventFlags flags) override {
    CGEventSetFlags(event(), static_cast<CGEventFlags>(flags));
  }

  [[nodiscard]] CGEventRef event() const { return created.get(); }

 private:
  Owned<CGEventRef> created;
};

CGEventSourceRef eventSource(const std::shared_ptr<EventSource>& source) {
  if (source == nullptr) return nullptr;
  const auto* own = dynamic_cast<const MacEventSource*>(source.get());
  if (own == nullptr) fatalError("An event was given a source of another maker.");
  return own->eventSource();
}

std::shared_ptr<InputEvent> wrap(CGEventRef event) {
  Owned<CGEventRef> owned(event);
  return owned == nullptr ? nullptr : std::make_shared<MacInputEvent>(std::move(owned));
}

}  // namespace

std::shared_ptr<EventSource> MacInputEvents::createSource(EventSourceState state) {
  Owned<CGEventSourceRef> source(CGEventSourceCreate(static_cast<CGEventSourceStateID>(state)));
  return source == nullptr ? nullptr : std::make_shared<MacEventSource>(std::move(source));
}

std::shared_ptr<InputEvent> MacInputEvents::createMouseEvent(
    const std::shared_ptr<EventSource>& source, MouseEventType type, Point position,
    MouseButton button) {
  return wrap(CGEventCreateMouseEvent(eventSource(source), static_cast<CGEventType>(type),
                                      {position.x, position.y},
                                      static_cast<CGMouseButton>(button)));
}

std::shared_ptr<InputEvent> MacInputEvents::createScrollWheelEvent(
    const std::shared_ptr<EventSource>& source, ScrollEventUnit units, std::uint32_t wheelCount,
    std::int32_t wheel1, std::int32_t wheel2, std::int32_t wheel3) {
  return wrap(CGEventCreateScrollWheelEvent2(eventSource(source),
                                             static_cast<CGScrollEventUnit>(units), wheelCount,
                                             wheel1, wheel2, wheel3));
}

std::shared_ptr<InputEvent> MacInputEvents::createKeyboardEvent(
    const std::shared_ptr<EventSource>& source, std::uint16_t virtualKey, bool keyDown) {
  return wrap(CGEventCreateKeyboardEvent(eventSource(source), virtualKey, keyDown));
}

void MacInputEvents::post(EventTapLocation tap, const std::shared_ptr<InputEvent>& event) {
  const auto* own = dynamic_cast<const MacInputEvent*>(event.get());
  if (own == nullptr) fatalError("What was to be posted is no event, or another maker's.");
  CGEventPost(static_cast<CGEventTapLocation>(tap), own->event());
}

bool MacInputEvents::displayIsActive(DisplayID display) { return CGDisplayIsActive(display) != 0; }

Rect MacInputEvents::displayBounds(DisplayID display) {
  const CGRect bounds = CGDisplayBounds(display);
  return {{bounds.origin.x, bounds.origin.y}, {bounds.size.width, bounds.size.height}};
}

}  // namespace quorvin
