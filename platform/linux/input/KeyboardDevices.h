#pragma once

#include <cstdint>
#include <optional>

#include "platform/linux/x11/X11Connection.h"

namespace quorvin {

// The keyboards of the seat that matter, as XInput 2 and XKB number them.
struct KeyboardDevices {
  // Waits for the server. Empty when it does not tell.
  [[nodiscard]] static std::optional<KeyboardDevices> find(X11Connection& connection);

  // What XTEST presses keys of. It has a layout of its own, which is not always that of the others.
  std::uint16_t injecting = 0;
  // One that somebody may have before them; 0 when there is none.
  std::uint16_t local = 0;
  // That all of them together make up.
  std::uint16_t core = 0;
  // `core` has its layout and settings from the keyboard that was used last. True when that was
  // `injecting`.
  bool injectedLast = false;
};

}  // namespace quorvin
