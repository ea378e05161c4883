#pragma once

#include <cstdint>

#include "platform/Interface.h"

namespace quorvin {

// Told of everything that has to be undone should this process end in between, before it is done. A
// press is told again each time it is repeated. A release is not told, since whoever is to undo it
// sees what the server holds; see InputChange. A key code that is unbound is told once the server
// has carried that out. Used by one thread; no call waits, but that the first press may wait a
// moment for whoever is to undo it.
//
// What is told before says whether it may be done: false when nobody would undo it.
class InputJournal : public Interface {
 public:
  // Presses may follow: whoever is to undo them had better be there by then.
  virtual void prepare() = 0;
  // `button` is a button number of the X server's core pointer.
  [[nodiscard]] virtual bool willPressButton(std::uint8_t button) = 0;
  // `keycode` is a key code of the X server.
  [[nodiscard]] virtual bool willPressKey(std::uint8_t keycode) = 0;
  // A key code that had no symbols gets some, for what the keyboard's layout lacks.
  [[nodiscard]] virtual bool willBindKey(std::uint8_t keycode) = 0;
  virtual void didUnbindKey(std::uint8_t keycode) = 0;
};

}  // namespace quorvin
