#include "platform/linux/input/Keyboard.h"

#include <utility>

#include "platform/linux/input/XkbProtocol.h"

namespace quorvin {

namespace {

constexpr std::uint16_t layoutEvents =
    XCB_XKB_EVENT_TYPE_NEW_KEYBOARD_NOTIFY | XCB_XKB_EVENT_TYPE_MAP_NOTIFY;
constexpr std::uint16_t allMapParts = 0xFF;

bool useXkb(X11Connection& connection) {
  const auto* extension = xcb_get_extension_data(connection.get(), &xcb_xkb_id);
  if (extension == nullptr || extension->present == 0) return false;
  const auto reply = x11Reply(
      xcb_xkb_use_extension_reply, connection.get(),
      xcb_xkb_use_extension(connection.get(), XCB_XKB_MAJOR_VERSION, XCB_XKB_MINOR_VERSION));
  return reply && reply->supported != 0;
}

}  // namespace

std::unique_ptr<Keyboard> Keyboard::open(X11Connection& connection) {
  if (!useXkb(connection)) return nullptr;
  const auto devices = KeyboardDevices::find(connection);
  if (!devices) return nullptr;
  const auto* extension = xcb_get_extension_data(connection.get(), &xcb_xkb_id);
  std::unique_ptr<Keyboard> keyboard(new Keyboard(connection, *devices, extension->first_event));
  return keyboard->layout ? std::move(keyboard) : nullptr;
}

Keyboard::Keyboard(X11Connection& connection, const KeyboardDevices& devices,
                   std::uint8_t firstEvent)
    : connection(connection), devices(devices), firstEvent(firstEvent) {
  selectEvents();
  layout = KeyboardMap::read(connection, devices.injecting);
  keyRepeat = std::make_unique<KeyRepeat>(connection, devices);
}

void Keyboard::handle(const xcb_generic_event_t& event, const std::set<Keycode>& own) {
  if ((event.response_type & 0x7f) != firstEvent) return;
  const auto& map = reinterpret_cast<const xcb_xkb_map_notify_event_t&>(event);
  const bool isOwn =
      map.xkbType == XCB_XKB_MAP_NOTIFY && map.nKeySyms == 1 && own.contains(map.firstKeySym);
  if (!isOwn) isOutdated = true;
}

void Keyboard::askState() {
  const auto reply = x11Reply(xcb_xkb_get_state_reply, connection.get(),
                              xcb_xkb_get_state(connection.get(), devices.core));
  if (reply) current = {reply->baseMods, reply->latchedMods, reply->lockedMods, reply->group};
}

bool Keyboard::follow() {
  if (!isOutdated) return false;
  isOutdated = false;
  auto changed = KeyboardMap::read(connection, devices.injecting);
  if (!changed) return false;
  layout = std::move(changed);
  return true;
}

void Keyboard::selectEvents() {
  xcb_xkb_select_events(connection.get(), devices.injecting, layoutEvents, 0, layoutEvents,
                        allMapParts, allMapParts, nullptr);
}

}  // namespace quorvin
