#include "platform/linux/input/XTestWriter.h"

#include <xcb/xcbext.h>
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

void XTestWriter::sync() {
  (void)x11Reply(xcb_get_input_focus_reply, connection.get(),
                 xcb_get_input_focus(connection.get()));
}

void XTestWriter::requestReply() {
  pendingReply = xcb_get_input_focus(connection.get()).sequence;
  flush();
}

bool XTestWriter::hasReply() {
  void* reply = nullptr;
  xcb_generic_error_t* error = nullptr;
  const bool isOver = xcb_poll_for_reply(connection.get(), pendingReply, &reply, &error) != 0;
  const X11Owned<void> ownedReply(reply);
  const X11Owned<xcb_generic_error_t> ownedError(error);
  return isOver;
}

void XTestWriter::send(std::uint8_t type, std::uint8_t detail, std::int16_t x, std::int16_t y) {
  constexpr std::uint8_t coreDevices = 0;
  xcb_test_fake_input(connection.get(), type, detail, XCB_CURRENT_TIME, connection.root(), x, y,
                      coreDevices);
}

}  // namespace quorvin
