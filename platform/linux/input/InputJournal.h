#pragma once

#include <cstdint>

#include "platform/Interface.h"

namespace quorvin {

// Records everything that has to be undone if this process ends. A press is recorded before it is
// made, also when it repeats. A release is not recorded: the guardian sees what the server holds
// (see InputChange). An unbound key code is recorded once the server has unbound it.
//
// The functions that record something in advance return whether it may be done: false when nobody
// would undo it. Used by one thread. Only the first press may wait a moment, for the guardian.
class InputJournal : public Interface {
 public:
  // Presses may follow. Starts the guardian, so that the first press need not wait for it.
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
