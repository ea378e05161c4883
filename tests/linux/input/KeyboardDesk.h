#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/linux/input/Keyboard.h"
#include "platform/linux/x11/X11Connection.h"

namespace quorvin {

// The keyboard of an X server as the person before it uses and finds it. What it did is carried out
// by the server when the call returns.
class KeyboardDesk {
 public:
  explicit KeyboardDesk(const std::string& server);

  // As setxkbmap(1) has it.
  void setLayout(const std::string& layout);
  void lock(bool capsLock, bool numLock);
  void lockGroup(std::uint8_t group);
  void press(std::uint8_t keycode) { fake(keycode, true); }
  void release(std::uint8_t keycode) { fake(keycode, false); }

  // As other programs with XTEST do, on no keyboard that anybody has before them.
  void typeWithXTest(std::uint8_t keycode);

  // Everything that must be found again.
  struct Condition {
    std::uint8_t heldModifiers = 0;
    std::uint8_t lockedModifiers = 0;
    std::uint8_t group = 0;
    std::uint32_t lights = 0;
    bool repeats = false;
    std::vector<std::uint8_t> repeatsOfKeys;
    std::vector<std::uint32_t> repeatControls;  // of each keyboard
    std::vector<std::uint8_t> keysDown;
    std::vector<std::uint32_t> symbols;

    friend bool operator==(const Condition&, const Condition&) = default;
  };
  [[nodiscard]] Condition condition();
  // The symbols of one key.
  [[nodiscard]] std::vector<std::uint32_t> symbolsOf(std::uint8_t keycode);
  [[nodiscard]] std::vector<std::uint8_t> keysDown();

 private:
  void fake(std::uint8_t keycode, bool isDown);
  void sync();
  [[nodiscard]] std::uint32_t repeatControl(std::uint16_t device);

  std::string server;
  X11Connection connection;
  KeyboardDevices devices;
};

}  // namespace quorvin
