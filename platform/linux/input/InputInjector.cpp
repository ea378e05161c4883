#include "platform/linux/input/InputInjector.h"

#include <xcb/xtest.h>

#include <utility>
#include <variant>

namespace quorvin {

namespace {

bool hasXTest(X11Connection& connection) {
  const auto* extension = xcb_get_extension_data(connection.get(), &xcb_test_id);
  return extension != nullptr && extension->present != 0 &&
         x11Reply(xcb_test_get_version_reply, connection.get(),
                  xcb_test_get_version(connection.get(), 2, 2)) != nullptr;
}

}  // namespace

InputServer InputServer::ask(X11Connection& connection) {
  InputServer server;
  server.extensions = X11Extensions::negotiate(connection);
  server.canInject = hasXTest(connection);
  if (server.canInject && server.extensions.input) server.keyboard = Keyboard::open(connection);
  return server;
}

InputInjector::InputInjector(X11Connection& connection, InputServer server, InputJournal& journal,
                             Leftovers left)
    : connection(connection),
      canInject(server.canInject),
      layout(connection, server.extensions),
      writer(connection),
      pointer(writer, journal) {
  pointer.adopt(std::move(left.buttons));
  if (!server.keyboard) return;
  keys = std::make_unique<KeyInjector>(connection, std::move(server.keyboard), writer, journal);
  keys->adopt(std::move(left.keys));
}

InputInjector::~InputInjector() {
  if (connection.isBroken()) return;
  pointer.releaseAll();
  if (keys) keys->leave();
  // A local socket that is closed while something unread lies in it takes along what the server
  // has not read yet.
  settle();
}

bool InputInjector::isConnected() {
  handleEvents();
  return !connection.isBroken();
}

void InputInjector::post(const LinuxInputEvent::Record& record) {
  if (!canInject) return;
  std::visit([this](const auto& one) { post(one); }, record);
}

const DisplayLayout& InputInjector::displays() {
  layout.update();
  return layout;
}

InputInjector::Leftovers InputInjector::leftovers() const {
  return {pointer.held(), keys ? keys->leftovers() : KeyInjector::Leftovers{}};
}

// For a server that has stopped reading nothing new is done, rather than waiting for it. What is
// held is released all the same: that takes little, and the server will come to it.
void InputInjector::post(const MouseRecord& record) {
  if (record.isRelease() || writer.hasRoom()) pointer.post(record);
}

void InputInjector::post(const ScrollRecord& record) {
  if (writer.hasRoom()) pointer.post(record);
}

void InputInjector::post(const KeyRecord& record) {
  if (!keys) return;
  if (!record.isDown) {
    keys->release(record.virtualKey);
    return;
  }
  if (!writer.hasRoom()) return;
  keys->prepare();
  handleEvents();
  keys->press(record.virtualKey);
}

void InputInjector::handleEvents() {
  while (const auto event = connection.pollEvent()) {
    layout.handle(*event);
    if (keys) keys->handle(*event);
  }
}

}  // namespace quorvin
