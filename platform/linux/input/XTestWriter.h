#pragma once

#include <cstdint>

#include "platform/linux/x11/X11Connection.h"

namespace quorvin {

// Sends input with the XTEST extension
// (https://www.x.org/releases/current/doc/xextproto/xtest.html). Used by the connection's thread.
class XTestWriter {
 public:
  explicit XTestWriter(X11Connection& connection) : connection(connection) {}

  // In the coordinates of the root window.
  void move(std::int16_t x, std::int16_t y);
  void button(std::uint8_t number, bool isDown);
  void key(std::uint8_t keycode, bool isDown);

  // Writes what was sent to the server's socket.
  void flush();
  // Waits until the server has carried out everything.
  void sync();
  // The same without waiting: sends a request that has a reply, and polls for that reply.
  void requestReply();
  [[nodiscard]] bool hasReply();

 private:
  void send(std::uint8_t type, std::uint8_t detail, std::int16_t x, std::int16_t y);

  X11Connection& connection;
  unsigned pendingReply = 0;  // sequence number of the request sent last
};

}  // namespace quorvin
