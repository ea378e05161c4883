#pragma once

#include <cstdint>
#include <memory>

#include "platform/InputEvents.h"

namespace quorvin {

// Input by Core Graphics events. The system drops what is posted by a program without the
// permission Accessibility, and says nothing. Only events and sources that were made here can be
// used here.
class MacInputEvents final : public InputEvents {
 public:
  [[nodiscard]] std::shared_ptr<EventSource> createSource(EventSourceState state) override;
  [[nodiscard]] std::shared_ptr<InputEvent> createMouseEvent(
      const std::shared_ptr<EventSource>& source, MouseEventType type, Point position,
      MouseButton button) override;
  [[nodiscard]] std::shared_ptr<InputEvent> createScrollWheelEvent(
      const std::shared_ptr<EventSource>& source, ScrollEventUnit units, std::uint32_t wheelCount,
      std::int32_t wheel1, std::int32_t wheel2, std::int32_t wheel3) override;
  [[nodiscard]] std::shared_ptr<InputEvent> createKeyboardEvent(
      const std::shared_ptr<EventSource>& source, std::uint16_t virtualKey, bool keyDown) override;
  void post(EventTapLocation tap, const std::shared_ptr<InputEvent>& event) override;
  [[nodiscard]] bool displayIsActive(DisplayID display) override;
  [[nodiscard]] Rect displayBounds(DisplayID display) override;
};

}  // namespace quorvin
