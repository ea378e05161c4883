#pragma once

#include <chrono>
#include <memory>

#include "platform/linux/X11Connection.h"

namespace quorvin {

// Waits for the reply to the request with this sequence number, but no longer than the limit;
// without one it only looks. `answered` tells whether there will be no other answer: a reply that
// is not taken here can still be taken later.
struct ServerAnswer {
  bool answered = false;
  X11Owned<void> reply;  // null when the request failed or the connection broke
};
[[nodiscard]] ServerAnswer awaitAnswer(X11Connection& connection, unsigned sequence,
                                       std::chrono::milliseconds limit);

}  // namespace quorvin
