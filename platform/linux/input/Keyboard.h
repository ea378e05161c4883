#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <set>

#include "platform/linux/input/KeyboardMap.h"
#include "platform/linux/x11/X11Connection.h"

namespace quorvin {

// The keyboards of the seat that matter, as XInput 2 and XKB number them.
struct KeyboardDevices {
  // Waits for the server. Empty when it does not tell.
  [[nodiscard]] static std::optional<KeyboardDevices> find(X11Connection& connection);

  // What XTEST presses keys of. It has a layout of its own, which is not always that of the others.
  std::uint16_t injecting = 0;
  // One that somebody may have before them; 0 when there is none.
  std::uint16_t local = 0;
  // That all of them together make up.
  std::uint16_t core = 0;
  // `core` has its layout and settings from the keyboard that was used last. True when that was
  // `injecting`.
  bool injectedLast = false;
};

// Keeps the X server from repeating keys that remote input holds. The supporter's own keyboard
// repeats them already. And a key whose release is late, because a link hangs, must not go on
// typing.
//
// Each keyboard has a repeat setting. The server applies the setting of the keyboard that was used
// last, as it was when the server switched to that keyboard. So repeats are turned off for XTEST's
// keyboard only, and only while keys are held: nobody turns them on again when this process ends.
// The keyboard at the machine goes on repeating.
//
// Used by the connection's thread; the connection must outlive it.
class KeyRepeat {
 public:
  // Waits for the server.
  KeyRepeat(X11Connection& connection, const KeyboardDevices& devices);

  // Before keys are pressed.
  void suppress();
  // After the last of them was released.
  void resume();
  // At the end: everything as it was found.
  void leave();
  // There is something to leave as it was found.
  [[nodiscard]] bool isUsed() const { return wasUsed; }
  // Another connection did the first and has ended without the others.
  void takeOver();

 private:
  void set(bool repeats);
  void handToLocalKeyboard();

  X11Connection& connection;
  KeyboardDevices devices;
  bool isWanted = false;  // was on before
  bool wasUsed = false;
};

// What the server says of the keyboard: its layout, kept up to date, and its state. Waits for the
// server. Used by the connection's thread; the connection must outlive it.
class Keyboard {
 public:
  // Null when the server lacks XKB or XInput 2.
  [[nodiscard]] static std::unique_ptr<Keyboard> open(X11Connection& connection);

  // Changes of the key codes that are this program's own are no news.
  void handle(const xcb_generic_event_t& event, const std::set<Keycode>& own);

  // Asks the server for the state. It changes with every key, also with those that this program
  // pressed a moment ago, so that only an answer says what the next key will find; and it is needed
  // only before a key is pressed, which is seldom.
  void askState();
  // Reads the layout anew when it has changed, as the events before the last answer told; true when
  // it did.
  [[nodiscard]] bool follow();

  [[nodiscard]] const KeyboardState& state() const { return current; }
  [[nodiscard]] const KeyboardMap& map() const { return *layout; }
  [[nodiscard]] KeyRepeat& repeat() { return *keyRepeat; }

 private:
  Keyboard(X11Connection& connection, const KeyboardDevices& devices, std::uint8_t firstEvent);
  void selectEvents();
  X11Connection& connection;
  KeyboardDevices devices;
  std::uint8_t firstEvent;
  std::unique_ptr<KeyboardMap> layout;
  std::unique_ptr<KeyRepeat> keyRepeat;
  KeyboardState current;
  bool isOutdated = false;
};

}  // namespace quorvin
