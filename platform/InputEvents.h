#pragma once

#include <cstdint>
#include <memory>

#include "platform/Geometry.h"
#include "platform/Interface.h"
#include "platform/ScreenCapture.h"

namespace quorvin {

// Everything here is used on the main thread. The numbers are those of Core Graphics
// (CGEventTypes.h).

enum class EventSourceState : std::int32_t { combinedSession = 0 };

enum class MouseEventType : std::uint32_t {
  leftMouseDown = 1,
  leftMouseUp = 2,
  rightMouseDown = 3,
  rightMouseUp = 4,
  mouseMoved = 5,
  leftMouseDragged = 6,
  rightMouseDragged = 7,
  otherMouseDown = 25,
  otherMouseUp = 26,
  otherMouseDragged = 27,
};

enum class MouseButton : std::uint32_t { left = 0, right = 1, center = 2 };

enum class ScrollEventUnit : std::uint32_t { pixel = 0 };

enum class EventField : std::uint32_t { mouseEventClickState = 1 };

enum class EventTapLocation : std::uint32_t { session = 1 };

using EventFlags = std::uint64_t;
inline constexpr EventFlags eventFlagMaskShift = 0x20000;
inline constexpr EventFlags eventFlagMaskControl = 0x40000;
inline constexpr EventFlags eventFlagMaskAlternate = 0x80000;
inline constexpr EventFlags eventFlagMaskCommand = 0x100000;

// Where events say that they come from.
class EventSource : public Interface {};

// An input event that nobody has seen until it is posted.
class InputEvent : public Interface {
 public:
  virtual void setIntegerValueField(EventField field, std::int64_t value) = 0;
  // Replaces all flags of the event. A system whose applications take the modifiers from the keys
  // that are down has no use for them.
  virtual void setFlags(EventFlags flags) = 0;
};

// Makes the system believe that somebody works its mouse and keyboard. Nothing here waits for the
// system or reports what became of an event.
class InputEvents : public Interface {
 public:
  // Null when the system makes none.
  [[nodiscard]] virtual std::shared_ptr<EventSource> createSource(EventSourceState state) = 0;

  // Each of these gives null when the system cannot make the event. The source may be null.

  // `position` is in the global coordinate space.
  [[nodiscard]] virtual std::shared_ptr<InputEvent> createMouseEvent(
      const std::shared_ptr<EventSource>& source, MouseEventType type, Point position,
      MouseButton button) = 0;
  // Of `wheelCount` wheels the first is the vertical one, positive upwards, and the second the
  // horizontal one, positive to the left.
  [[nodiscard]] virtual std::shared_ptr<InputEvent> createScrollWheelEvent(
      const std::shared_ptr<EventSource>& source, ScrollEventUnit units, std::uint32_t wheelCount,
      std::int32_t wheel1, std::int32_t wheel2, std::int32_t wheel3) = 0;
  // `virtualKey` is a virtual key code of macOS (HIToolbox, Events.h).
  [[nodiscard]] virtual std::shared_ptr<InputEvent> createKeyboardEvent(
      const std::shared_ptr<EventSource>& source, std::uint16_t virtualKey, bool keyDown) = 0;

  virtual void post(EventTapLocation tap, const std::shared_ptr<InputEvent>& event) = 0;

  // Both say how things are, as the system has told last. Of a display that does not exist (any
  // more) the first says no, and the second gives a rectangle without extent.
  [[nodiscard]] virtual bool displayIsActive(DisplayID display) = 0;
  // In the global coordinate space.
  [[nodiscard]] virtual Rect displayBounds(DisplayID display) = 0;
};

}  // namespace quorvin
