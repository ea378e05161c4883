#pragma once

#include <cstdint>

#include "platform/Interface.h"

namespace quorvin {

// Told of everything that has to be undone should this process end in between: before it is done,
// and after it was undone. A release is done once the whole request has been written to the X
// server's socket, and a key code is unbound once the server has carried that out. A press is told
// again each time it is repeated. Used by one thread; no call waits, but that the first press may
// wait a moment for whoever is to undo it.
//
// What is told before says whether it may be done: false when nobody would undo it.
class InputJournal : public Interface {
 public:
  // `button` is a button number of the X server's core pointer.
  [[nodiscard]] virtual bool willPressButton(std::uint8_t button) = 0;
  virtual void didReleaseButton(std::uint8_t button) = 0;
  // `keycode` is a key code of the X server.
  [[nodiscard]] virtual bool willPressKey(std::uint8_t keycode) = 0;
  virtual void didReleaseKey(std::uint8_t keycode) = 0;
  // A key code that had no symbols gets some, for what the keyboard's layout lacks.
  [[nodiscard]] virtual bool willBindKey(std::uint8_t keycode) = 0;
  virtual void didUnbindKey(std::uint8_t keycode) = 0;
};

}  // namespace quorvin
