#include "platform/linux/input/ServerAnswer.h"

#include <poll.h>
#include <xcb/xcbext.h>

namespace quorvin {

ServerAnswer awaitAnswer(X11Connection& connection, unsigned sequence,
                         std::chrono::milliseconds limit) {
  using Clock = std::chrono::steady_clock;
  const auto deadline = Clock::now() + limit;
  while (true) {
    void* reply = nullptr;
    xcb_generic_error_t* error = nullptr;
    if (xcb_poll_for_reply(connection.get(), sequence, &reply, &error) != 0) {
      const X11Owned<xcb_generic_error_t> discarded(error);
      return {true, X11Owned<void>(reply)};
    }
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    if (left.count() <= 0) return {};
    pollfd socket{connection.descriptor(), POLLIN, 0};
    poll(&socket, 1, static_cast<int>(left.count()));
  }
}

}  // namespace quorvin
