#pragma once

#include <array>
#include <cstdint>
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

}  // namespace quorvin
