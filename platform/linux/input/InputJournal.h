#pragma once

#include <cstdint>

namespace quorvin {

// Told of everything that has to be undone should this process end in between: before it is done,
// and after it was undone. A press is told again each time it is repeated. Main thread; no call
// may wait.
class InputJournal {
 public:
  InputJournal(const InputJournal&) = delete;
  InputJournal& operator=(const InputJournal&) = delete;
  virtual ~InputJournal() = default;

  // `button` is a button number of the X server's core pointer.
  virtual void willPressButton(std::uint8_t button) = 0;
  virtual void didReleaseButton(std::uint8_t button) = 0;
  // `keycode` is a key code of the X server.
  virtual void willPressKey(std::uint8_t keycode) = 0;
  virtual void didReleaseKey(std::uint8_t keycode) = 0;
  // A key code that had no symbols gets some, for what the keyboard's layout lacks.
  virtual void willBindKey(std::uint8_t keycode) = 0;
  virtual void didUnbindKey(std::uint8_t keycode) = 0;

 protected:
  InputJournal() = default;
};

}  // namespace quorvin
