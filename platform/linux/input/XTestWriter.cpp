#include "platform/linux/input/XTestWriter.h"

#include <poll.h>
#include <xcb/xtest.h>

namespace quorvin {

void XTestWriter::move(std::int16_t x, std::int16_t y) {
  constexpr std::uint8_t absolute = 0;
  send(XCB_MOTION_NOTIFY, absolute, x, y);
}

void XTestWriter::button(std::uint8_t number, bool isDown) {
  send(isDown ? XCB_BUTTON_PRESS : XCB_BUTTON_RELEASE, number, 0, 0);
}

void XTestWriter::key(std::uint8_t keycode, bool isDown) {
  send(isDown ? XCB_KEY_PRESS : XCB_KEY_RELEASE, keycode, 0, 0);
}

void XTestWriter::flush() {
  xcb_flush(connection.get());
}

// Linux reports a local socket as writable while three quarters of its buffer are free
// (unix_writable, net/unix/af_unix.c), which is far more than one event takes.
bool XTestWriter::hasRoom() const {
  pollfd socket{connection.descriptor(), POLLOUT, 0};
  return poll(&socket, 1, 0) == 1 && (socket.revents & POLLOUT) != 0;
}

void XTestWriter::send(std::uint8_t type, std::uint8_t detail, std::int16_t x, std::int16_t y) {
  constexpr std::uint8_t coreDevices = 0;
  xcb_test_fake_input(connection.get(), type, detail, XCB_CURRENT_TIME, connection.root(), x, y,
                      coreDevices);
}

}  // namespace quorvin
