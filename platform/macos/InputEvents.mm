#import "platform/macos/InputEvents.h"

namespace quorvin {

std::shared_ptr<EventSource> MacInputEvents::createSource(EventSourceState /*state*/) {
  return nullptr;
}

std::shared_ptr<InputEvent> MacInputEvents::createMouseEvent(
    const std::shared_ptr<EventSource>& /*source*/, MouseEventType /*type*/, Point /*position*/,
    MouseButton /*button*/) {
  return nullptr;
}

std::shared_ptr<InputEvent> MacInputEvents::createScrollWheelEvent(
    const std::shared_ptr<EventSource>& /*source*/, ScrollEventUnit /*units*/,
    std::uint32_t /*wheelCount*/, std::int32_t /*wheel1*/, std::int32_t /*wheel2*/,
    std::int32_t /*wheel3*/) {
  return nullptr;
}

std::shared_ptr<InputEvent> MacInputEvents::createKeyboardEvent(
    const std::shared_ptr<EventSource>& /*source*/, std::uint16_t /*virtualKey*/,
    bool /*keyDown*/) {
  return nullptr;
}

void MacInputEvents::post(EventTapLocation /*tap*/, const std::shared_ptr<InputEvent>& /*event*/) {}

bool MacInputEvents::displayIsActive(DisplayID /*display*/) { return false; }

Rect MacInputEvents::displayBounds(DisplayID /*display*/) { return {}; }

}  // namespace quorvin
