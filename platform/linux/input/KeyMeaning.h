#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>

namespace quorvin {

// What platform/mac-keycodes.csv says of one virtual key code of macOS. Symbols are keysyms of X
// (X11/keysymdef.h).
struct KeyRow {
  std::uint16_t virtualKey;
  std::uint16_t evdevCode;  // linux/input-event-codes.h; the key code of X is 8 more
  std::uint32_t symbol;     // what the key is called
  // What the key types on a US keyboard, without and with Shift. 0 when that is no character.
  std::uint32_t plain;
  std::uint32_t shifted;
};

// In ascending order of the virtual key codes; codes that no keyboard has are missing.
[[nodiscard]] std::span<const KeyRow> keyTable();

// A pair of keysyms of X: without and with Shift.
struct KeySymbols {
  std::uint32_t plain = 0;
  std::uint32_t shifted = 0;

  friend bool operator==(const KeySymbols&, const KeySymbols&) = default;
};

// What somebody means by pressing a key.
struct KeyMeaning {
  // Set when the key stands for a character: then it is the character that has to arrive, however
  // the layout in force makes it.
  std::optional<KeySymbols> types;
  // Otherwise the key with this keysym is meant, or, where the layout has none, the key at the
  // same place of the keyboard. 0: always the latter.
  std::uint32_t symbol = 0;
  std::uint8_t keycode = 0;  // of the key at the same place, with the usual (evdev) key codes
};

// Empty when the key cannot be sent: when there is no such key; Fn, whose code is beyond those of
// X; and Caps Lock, which would lock the keyboard of the person at the machine, while letters mean
// the same whether it is locked or not.
[[nodiscard]] std::optional<KeyMeaning> keyMeaning(std::uint16_t virtualKey);

}  // namespace quorvin
