#pragma once

#include <xcb/xcb.h>
#include <xkbcommon/xkbcommon.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/Geometry.h"
#include "platform/linux/x11/X11Connection.h"

namespace quorvin {

// What a program was told by one event of the core protocol.
struct SeenEvent {
  enum class Kind { keyDown, keyUp, buttonDown, buttonUp, motion };
  Kind kind = Kind::motion;
  std::uint8_t detail = 0;   // key code or button number
  std::uint32_t symbol = 0;  // of a key, as the program understands it
  std::uint16_t state = 0;   // modifiers and buttons before it
  Point position;
};

// A program that covers the screen, has the input focus and reads everything that comes, with the
// layout that the server tells it about.
class InputWatcher {
 public:
  explicit InputWatcher(const std::string& server);

  // What has come since the last call.
  [[nodiscard]] std::vector<SeenEvent> take();
  // Waits until at least so many events have come, though not for ever.
  [[nodiscard]] std::vector<SeenEvent> takeAtLeast(std::size_t count);
  // Of the keys pressed since, without the modifiers among them.
  [[nodiscard]] std::vector<std::uint32_t> takeTyped();
  [[nodiscard]] Point pointer();

 private:
  struct Free {
    void operator()(xkb_context* owned) const { xkb_context_unref(owned); }
    void operator()(xkb_keymap* owned) const { xkb_keymap_unref(owned); }
    void operator()(xkb_state* owned) const { xkb_state_unref(owned); }
  };

  void readLayout();
  void add(const xcb_generic_event_t& event, std::vector<SeenEvent>& seen);
  [[nodiscard]] std::uint32_t symbolOf(std::uint8_t keycode, std::uint16_t state);

  X11Connection connection;
  std::uint8_t firstXkbEvent = 0;
  std::unique_ptr<xkb_context, Free> context;
  std::unique_ptr<xkb_keymap, Free> keymap;
  std::unique_ptr<xkb_state, Free> scratch;
};

}  // namespace quorvin
