#pragma once

#include <cstdint>

#include "platform/linux/X11Connection.h"

namespace quorvin {

// Sends input with the XTEST extension
// (https://www.x.org/releases/current/doc/xextproto/xtest.html). Nothing here has a reply, so that
// nothing waits for the server. Used by the connection's thread.
class XTestWriter {
 public:
  explicit XTestWriter(X11Connection& connection) : connection(connection) {}

  // In the coordinates of the root window.
  void move(std::int16_t x, std::int16_t y);
  void button(std::uint8_t number, bool isDown);
  void key(std::uint8_t keycode, bool isDown);

  // Writes what was sent to the server's socket.
  void flush();
  // False when a server that reads no more has left so much unread that flushing much might wait
  // for it.
  [[nodiscard]] bool hasRoom() const;

 private:
  void send(std::uint8_t type, std::uint8_t detail, std::int16_t x, std::int16_t y);

  X11Connection& connection;
};

}  // namespace quorvin
