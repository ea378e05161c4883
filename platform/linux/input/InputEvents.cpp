#include "platform/linux/input/InputEvents.h"

namespace quorvin {

std::shared_ptr<EventSource> LinuxInputEvents::createSource(EventSourceState /*state*/) {
  return nullptr;
}

std::shared_ptr<InputEvent> LinuxInputEvents::createMouseEvent(
    const std::shared_ptr<EventSource>& /*source*/, MouseEventType /*type*/, Point /*position*/,
    MouseButton /*button*/) {
  return nullptr;
}

std::shared_ptr<InputEvent> LinuxInputEvents::createScrollWheelEvent(
    const std::shared_ptr<EventSource>& /*source*/, ScrollEventUnit /*units*/,
    std::uint32_t /*wheelCount*/, std::int32_t /*wheel1*/, std::int32_t /*wheel2*/,
    std::int32_t /*wheel3*/) {
  return nullptr;
}

std::shared_ptr<InputEvent> LinuxInputEvents::createKeyboardEvent(
    const std::shared_ptr<EventSource>& /*source*/, std::uint16_t /*virtualKey*/,
    bool /*keyDown*/) {
  return nullptr;
}

void LinuxInputEvents::post(EventTapLocation /*tap*/,
                            const std::shared_ptr<InputEvent>& /*event*/) {}

bool LinuxInputEvents::displayIsActive(DisplayID /*display*/) {
  return false;
}

Rect LinuxInputEvents::displayBounds(DisplayID /*display*/) {
  return {};
}

}  // namespace quorvin
