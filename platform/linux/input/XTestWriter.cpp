#include "platform/linux/input/XTestWriter.h"

#include <xcb/xtest.h>

#include <chrono>

#include "platform/linux/input/ServerAnswer.h"

namespace quorvin {

namespace {

// libxcb waits before it writes to a socket of which more than a quarter is filled. Linux gives a
// local socket 208 KiB (net.core.wmem_default) and counts for each piece of data the memory that it
// takes, which for a short one is nearly a kilobyte. An event takes at most 15 KB.
constexpr std::size_t overhead = 1024;
constexpr std::size_t askAfter = 4'096;
constexpr std::size_t limit = 24'576;
constexpr std::chrono::milliseconds none{0};
constexpr std::chrono::milliseconds patience{200};

}  // namespace

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
  const std::size_t taken = unflushed + overhead;
  unflushed = 0;
  unread += taken;
  afterQuestion += taken;
}

void XTestWriter::settle() {
  const auto asked = xcb_get_input_focus(connection.get()).sequence;
  flush();
  (void)awaitAnswer(connection, asked, patience);
}

bool XTestWriter::hasRoom() {
  takeAnswer(none);
  if (!question && unread >= askAfter) ask();
  if (unread < limit) return true;
  takeAnswer(isSilent ? none : patience);
  isSilent = question.has_value();
  return !isSilent;
}

void XTestWriter::ask() {
  question = xcb_get_input_focus(connection.get()).sequence;
  xcb_flush(connection.get());
  afterQuestion = 0;
}

void XTestWriter::takeAnswer(std::chrono::milliseconds limitOfWait) {
  if (!question || !awaitAnswer(connection, *question, limitOfWait).answered) return;
  question.reset();
  unread = afterQuestion;
}

void XTestWriter::send(std::uint8_t type, std::uint8_t detail, std::int16_t x, std::int16_t y) {
  constexpr std::uint8_t coreDevices = 0;
  constexpr std::size_t length = 36;
  unflushed += length;
  xcb_test_fake_input(connection.get(), type, detail, XCB_CURRENT_TIME, connection.root(), x, y,
                      coreDevices);
}

}  // namespace quorvin
