#pragma once

#include <glib.h>

#include <chrono>
#include <memory>
#include <string>

#include "platform/InputEvents.h"
#include "platform/linux/input/InputJournal.h"
#include "platform/linux/input/InputThread.h"

namespace quorvin {

// Input for the X server that a display name stands for. The global coordinate space is that of the
// root window, and displays are those that can be captured, as the server has told last. When there
// is no server, or one that takes no input, posting does nothing. No call but sync() waits for
// the server; everything that does is done by an InputThread.
class LinuxInputEvents final : public InputEvents {
 public:
  // `display` as in DISPLAY; none when it is empty. The journal must outlive this object, and is
  // used by the thread alone, which serves the context if there is one.
  LinuxInputEvents(std::string display, InputJournal& journal, GMainContext* context = nullptr);

  // Has the connection made that is otherwise made when it is first needed. Until it is, no display
  // is active.
  void open() { thread.open(); }

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

  // Waits until what was posted has been carried out and what the server has told is known; false
  // when that was not within the time.
  bool sync(std::chrono::milliseconds limit = std::chrono::seconds(10)) {
    return thread.sync(limit);
  }
  // Whether the displays are known since open(), or cannot be.
  [[nodiscard]] bool isReady() { return thread.isReady(); }
  // At the end of the program: releases everything and leaves the keyboard as it was found, which
  // goes on without the caller when it is not done within the time. Whether it is.
  bool endWithin(std::chrono::milliseconds limit) { return thread.endWithin(limit); }

 private:
  InputThread thread;
};

}  // namespace quorvin
