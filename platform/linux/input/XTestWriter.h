#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>

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
  // Waits until the server has carried out everything, but not for long.
  void settle();
  // False while a server that hangs is so far behind that flushing would soon wait for it without
  // end. There is then still room for the little that must be sent all the same. A server that is
  // merely busy is waited for a moment.
  [[nodiscard]] bool hasRoom();

 private:
  void ask();
  void takeAnswer(std::chrono::milliseconds limitOfWait);
  void send(std::uint8_t type, std::uint8_t detail, std::int16_t x, std::int16_t y);

  X11Connection& connection;
  // In bytes, as far as they take up room in the socket; with what the system adds to each flush.
  std::size_t unflushed = 0;
  std::size_t unread = 0;         // that the server may not have read yet
  std::size_t afterQuestion = 0;  // what of it was sent after the question
  // The sequence number of a request that the server has not answered; its answer tells that it has
  // read everything before.
  std::optional<unsigned> question;
  bool isSilent = false;  // has been waited for in vain
};

}  // namespace quorvin
