#pragma once

#include <cstdint>

namespace quorvin {

// What XKB knows of a keyboard at one moment; modifiers are bit masks of its eight real ones.
struct KeyboardState {
  std::uint32_t heldModifiers = 0;
  std::uint32_t latchedModifiers = 0;
  std::uint32_t lockedModifiers = 0;
  std::uint32_t group = 0;  // in force
};

}  // namespace quorvin
