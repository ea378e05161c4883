#pragma once

#include <libsoup/soup.h>

#include <cstddef>

namespace quorvin::webui {

// What one page may send, checked frame by frame while it comes in: the library bounds single
// frames only, and a message may consist of any number of them. Frames that go unquestioned for too
// long are bounded as well, as the library answers some of them by itself.
struct MessageBounds {
  std::size_t messageBytesMax;
  std::size_t framesMax;  // between two calls of forgetFrames
};

// An extension that both sides need not agree on, since it changes nothing: for the connection that
// is made with it. A page that goes over gets the error SOUP_WEBSOCKET_CLOSE_TOO_BIG or
// SOUP_WEBSOCKET_CLOSE_POLICY_VIOLATION.
[[nodiscard]] SoupWebsocketExtension* makeBoundsExtension(const MessageBounds& bounds);

void forgetFrames(SoupWebsocketConnection* socket);

}  // namespace quorvin::webui
