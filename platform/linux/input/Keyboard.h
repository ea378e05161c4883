#pragma once

#include <memory>
#include <set>

#include "platform/linux/input/KeyRepeat.h"
#include "platform/linux/input/KeyboardMap.h"
#include "platform/linux/input/KeyboardState.h"
#include "platform/linux/x11/X11Connection.h"

namespace quorvin {

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
