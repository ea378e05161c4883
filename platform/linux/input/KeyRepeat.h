#pragma once

#include "platform/linux/input/KeyboardDevices.h"
#include "platform/linux/x11/X11Connection.h"

namespace quorvin {

// Keeps the X server from repeating keys that remote input holds. The supporter's own keyboard
// repeats them already; and a key whose release is late, because a link hangs, must not go on
// typing.
//
// Every keyboard has its own setting for it, and the one that is in force is that of the keyboard
// that was used last, as it was when the server turned to it. So repeats are off for the keyboard
// that XTEST presses keys of, but only while there are such keys, since nobody undoes it when this
// process ends; and the one in front of the person at the machine goes on repeating.
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
  void adopt();

 private:
  void set(bool repeats);
  void handToLocalKeyboard();

  X11Connection& connection;
  KeyboardDevices devices;
  bool isWanted = false;  // was on before
  bool wasUsed = false;
};

}  // namespace quorvin
