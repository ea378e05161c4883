#include "platform/linux/input/InputEvents.h"

#include <cmath>
#include <utility>

#include "platform/linux/input/LinuxInputEvent.h"

namespace quorvin {

namespace {

// XTEST always speaks for a device of its own, so that there is nothing to say about it.
class LinuxEventSource final : public EventSource {};

std::shared_ptr<InputEvent> make(LinuxInputEvent::Record record) {
  return std::make_shared<LinuxInputEvent>(record);
}

}  // namespace

LinuxInputEvents::LinuxInputEvents(std::string display, InputJournal& journal,
                                   GMainContext* context)
    : thread(std::move(display), journal, context) {}

std::shared_ptr<EventSource> LinuxInputEvents::createSource(EventSourceState /*state*/) {
  return std::make_shared<LinuxEventSource>();
}

std::shared_ptr<InputEvent> LinuxInputEvents::createMouseEvent(
    const std::shared_ptr<EventSource>& /*source*/, MouseEventType type, Point position,
    MouseButton button) {
  if (!std::isfinite(position.x) || !std::isfinite(position.y)) return nullptr;
  return make(MouseRecord{type, position, button});
}

std::shared_ptr<InputEvent> LinuxInputEvents::createScrollWheelEvent(
    const std::shared_ptr<EventSource>& /*source*/, ScrollEventUnit /*units*/,
    std::uint32_t wheelCount, std::int32_t wheel1, std::int32_t wheel2, std::int32_t /*wheel3*/) {
  return make(ScrollRecord{wheelCount > 0 ? wheel1 : 0, wheelCount > 1 ? wheel2 : 0});
}

std::shared_ptr<InputEvent> LinuxInputEvents::createKeyboardEvent(
    const std::shared_ptr<EventSource>& /*source*/, std::uint16_t virtualKey, bool keyDown) {
  return make(KeyRecord{virtualKey, keyDown});
}

void LinuxInputEvents::post(EventTapLocation /*tap*/, const std::shared_ptr<InputEvent>& event) {
  const auto made = std::dynamic_pointer_cast<LinuxInputEvent>(event);
  if (made) thread.post(made->record);
}

bool LinuxInputEvents::displayIsActive(DisplayID display) {
  return thread.boundsOf(display).has_value();
}

Rect LinuxInputEvents::displayBounds(DisplayID display) {
  return thread.boundsOf(display).value_or(Rect{});
}

}  // namespace quorvin
