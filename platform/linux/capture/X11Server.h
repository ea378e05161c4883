#pragma once

#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "platform/linux/X11Connection.h"
#include "platform/linux/capture/X11Extensions.h"

namespace quorvin {

// A connection and what its server can do.
struct X11Server {
  // `displayName` as in DISPLAY, which counts when it is empty. Waits for the server; throws Error
  // when there is none to talk to.
  explicit X11Server(const std::string& displayName)
      : connection(displayName), extensions(X11Extensions::negotiate(connection)) {}

  X11Connection connection;
  X11Extensions extensions;
};

// What listing the displays leaves to the stream that comes after it, so that a start makes one
// connection. Any thread.
class X11SpareServer {
 public:
  explicit X11SpareServer(X11Server server) : server(std::move(server)) {}

  // Nothing when it was taken before or the connection has broken; does not wait for the server.
  [[nodiscard]] std::optional<X11Server> take();

 private:
  std::mutex mutex;
  std::optional<X11Server> server;
};

}  // namespace quorvin
