#pragma once

#include <cstdint>
#include <optional>

#include "platform/linux/x11/X11Connection.h"

namespace quorvin {

// The extensions of an X server that capturing can make use of; each is empty when the server
// lacks it or knows only a version that is too old. Their protocols are described at
// https://gitlab.freedesktop.org/xorg/proto/xorgproto.
struct X11Extensions {
  struct Events {
    std::uint8_t first = 0;  // number of the extension's first event
  };
  struct Requests {
    std::uint8_t major = 0;  // number that its requests and generic events carry
  };

  // Asks the server, which also tells it that the extensions are going to be used.
  [[nodiscard]] static X11Extensions negotiate(X11Connection& connection);

  bool sharedMemory = false;              // MIT-SHM
  bool sharedMemoryByDescriptor = false;  // MIT-SHM 1.2
  std::optional<Events> fixes;            // XFIXES 2: regions, cursor images
  std::optional<Events> damage;           // DAMAGE 1.1, given only together with XFIXES
  std::optional<Events> randr;            // RANDR 1.5: monitors
  std::optional<Requests> input;          // XInputExtension 2.1: raw motion even during grabs
};

}  // namespace quorvin
