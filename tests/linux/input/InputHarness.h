#pragma once

#include <optional>
#include <string>
#include <vector>

#include "platform/linux/input/InputEvents.h"
#include "tests/linux/input/InputWatcher.h"
#include "tests/linux/input/JournalRecord.h"
#include "tests/linux/input/KeyboardDesk.h"
#include "tests/linux/system/XServer.h"

namespace quorvin {

// Input events for a virtual X server of 640 x 480 pixels, with somebody to see what comes of them.
class InputHarness {
 public:
  // The options are those of Xvfb.
  explicit InputHarness(std::vector<std::string> options = {})
      : server(withScreen(std::move(options))), desk(server.display()), watcher(server.display()) {
    events.emplace(server.display(), record);
  }

  void mouse(MouseEventType type, Point position, MouseButton button = MouseButton::left) {
    post(events->createMouseEvent(nullptr, type, position, button));
  }
  void scroll(std::int32_t up, std::int32_t left) {
    post(events->createScrollWheelEvent(nullptr, ScrollEventUnit::pixel, 2, up, left, 0));
  }
  void keyDown(std::uint16_t code) { post(events->createKeyboardEvent(nullptr, code, true)); }
  void keyUp(std::uint16_t code) { post(events->createKeyboardEvent(nullptr, code, false)); }
  void type(std::uint16_t code) {
    keyDown(code);
    keyUp(code);
  }

  // What the watcher was told, once the server has carried out what was posted.
  [[nodiscard]] std::vector<SeenEvent> take() {
    if (events) events->sync();
    return watcher.take();
  }
  // The keyboard as it is after that.
  [[nodiscard]] KeyboardDesk& synced() {
    if (events) events->sync();
    return desk;
  }
  [[nodiscard]] std::vector<std::uint32_t> takeTyped() {
    if (events) events->sync();
    return watcher.takeTyped();
  }
  // What it was told by then.
  [[nodiscard]] JournalRecord& journal() {
    if (events) events->sync();
    return record;
  }

  static std::vector<std::string> withScreen(std::vector<std::string> options) {
    for (const char* word : {"-screen", "0", "640x480x24", "-noreset"}) options.emplace_back(word);
    return options;
  }

  XServer server;
  KeyboardDesk desk;
  InputWatcher watcher;
  JournalRecord record;  // the events' alone while there is something to carry out
  std::optional<LinuxInputEvents> events;

 private:
  void post(const std::shared_ptr<InputEvent>& event) {
    events->post(EventTapLocation::session, event);
  }
};

// Virtual key codes of macOS (HIToolbox, Events.h).
namespace mac {
inline constexpr std::uint16_t a = 0;
inline constexpr std::uint16_t c = 8;
inline constexpr std::uint16_t section = 10;
inline constexpr std::uint16_t q = 12;
inline constexpr std::uint16_t two = 19;
inline constexpr std::uint16_t enter = 36;
inline constexpr std::uint16_t command = 55;
inline constexpr std::uint16_t shift = 56;
inline constexpr std::uint16_t capsLock = 57;
inline constexpr std::uint16_t option = 58;
inline constexpr std::uint16_t control = 59;
inline constexpr std::uint16_t rightShift = 60;
inline constexpr std::uint16_t rightOption = 61;
inline constexpr std::uint16_t function = 63;
inline constexpr std::uint16_t keypadClear = 71;
inline constexpr std::uint16_t keypad1 = 83;
}  // namespace mac

}  // namespace quorvin
