#pragma once

#include "platform/linux/X11Connection.h"
#include "platform/linux/input/KeyboardDevices.h"

namespace quorvin {

// Keeps the X server from repeating keys that remote input holds. The supporter's own keyboard
// repeats them already; and a key whose release is late, because a link hangs, must not go on
// typing.
//
// Every keyboard has its own setting for it, and the one that is in force is that of the keyboard
// that was used last. So repeats are switched off for the keyboard that XTEST presses keys of, and
// the one in front of the person at the machine goes on repeating.
//
// Used by the connection's thread; the connection must outlive it.
class KeyRepeat {
 public:
  // Waits for the server.
  KeyRepeat(X11Connection& connection, const KeyboardDevices& devices);

  // Before keys are pressed.
  void suppress();
  [[nodiscard]] bool isOff() const { return isSuppressed; }
  // Another connection switched it off and has ended without restoring it.
  void adopt();
  // After the last of them was released: everything as it was found.
  void restore();

 private:
  void set(bool repeats);
  void handToLocalKeyboard();

  X11Connection& connection;
  KeyboardDevices devices;
  bool isWanted = false;  // was on before
  bool isSuppressed = false;
};

}  // namespace quorvin
