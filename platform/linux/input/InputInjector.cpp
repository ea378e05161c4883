#include "platform/linux/input/InputInjector.h"

#include <xcb/xtest.h>

#include <cassert>
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

InputInjector::InputInjector(X11Connection& connection, InputJournal& journal)
    : connection(connection),
      journal(journal),
      extensions(X11Extensions::negotiate(connection)),
      monitorWatch(connection, extensions),
      monitors(listMonitors(connection, extensions)),
      writer(connection),
      pointer(writer, journal) {}

void InputInjector::prepare() {
  assert(thread.isCurrent());
  canInject = hasXTest(connection);
  if (!canInject) return;
  journal.prepare();
  if (!extensions.input) return;
  auto keyboard = Keyboard::open(connection);
  if (!keyboard) return;
  keys = std::make_unique<KeyInjector>(connection, std::move(keyboard), writer, journal);
}

void InputInjector::takeOver(PendingReleases pending) {
  pointer.takeOver(std::move(pending.buttons));
  if (keys) keys->takeOver(std::move(pending.keys));
  writer.sync();
}

InputInjector::~InputInjector() {
  if (connection.isBroken()) return;
  pointer.releaseAll();
  if (keys) keys->leave();
  assert(pointer.held().empty() && (!keys || keys->pendingReleases().keycodes.empty()));
  // A local socket that is closed while something unread lies in it takes along what the server
  // has not read yet (unix_release_sock in
  // https://github.com/torvalds/linux/blob/v6.1/net/unix/af_unix.c).
  writer.sync();
}

void InputInjector::post(const LinuxInputEvent::Record& record) {
  assert(thread.isCurrent());
  if (canInject) std::visit([this](const auto& one) { post(one); }, record);
  writer.requestReply();
}

bool InputInjector::takeNews() {
  assert(thread.isCurrent());
  bool haveDisplaysChanged = false;
  handleEvents();
  while (monitorWatch.takeChange()) {
    monitors = listMonitors(connection, extensions);
    haveDisplaysChanged = true;
    handleEvents();  // that came before the answer
  }
  return haveDisplaysChanged;
}

InputInjector::PendingReleases InputInjector::pendingReleases() const {
  return {pointer.held(), keys ? keys->pendingReleases() : KeyInjector::PendingReleases{}};
}

void InputInjector::post(const MouseRecord& record) {
  pointer.post(record);
}

void InputInjector::post(const ScrollRecord& record) {
  pointer.post(record);
}

void InputInjector::post(const KeyRecord& record) {
  if (!keys) return;
  if (!record.isDown) {
    keys->release(record.virtualKey);
    return;
  }
  keys->prepare();
  handleEvents();
  keys->press(record.virtualKey);
}

void InputInjector::handleEvents() {
  while (const auto event = connection.pollEvent()) {
    monitorWatch.handle(*event);
    if (keys) keys->handle(*event);
  }
}

}  // namespace quorvin
