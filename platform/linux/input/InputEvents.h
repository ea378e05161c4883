#pragma once

#include <memory>
#include <string>

#include "platform/InputEvents.h"
#include "platform/linux/input/InputConnection.h"
#include "platform/linux/input/InputJournal.h"

namespace quorvin {

// Input for the X server that a display name stands for. The global coordinate space is that of the
// root window, and displays are those that can be captured. When there is no server, or one that
// takes no input, posting does nothing.
class LinuxInputEvents final : public InputEvents {
 public:
  // `display` as in DISPLAY; none when it is empty. The journal must outlive this object.
  LinuxInputEvents(std::string display, InputJournal& journal);

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

  // Waits until what was posted has been carried out, but not for long.
  void settle();

 private:
  InputConnection connection;
};

}  // namespace quorvin
