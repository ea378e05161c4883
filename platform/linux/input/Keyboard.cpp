#include "platform/linux/input/Keyboard.h"

#include <xcb/xinput.h>
#include <xcb/xtest.h>

#include <array>
#include <string_view>
#include <utility>

#include "platform/linux/input/XkbProtocol.h"

namespace quorvin {
namespace {

// Set on the devices of XTEST and on no others (XI_PROP_XTEST_DEVICE, xserver-properties.h).
xcb_atom_t markOfXTest(X11Connection& connection) {
  constexpr std::string_view name = "XTEST Device";
  const auto reply = x11Reply(
      xcb_intern_atom_reply, connection.get(),
      xcb_intern_atom(connection.get(), 1, static_cast<std::uint16_t>(name.size()), name.data()));
  return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

bool hasProperty(X11Connection& connection, std::uint16_t device, xcb_atom_t property) {
  const auto reply = x11Reply(
      xcb_input_xi_get_property_reply, connection.get(),
      xcb_input_xi_get_property(connection.get(), device, 0, property, XCB_ATOM_ANY, 0, 1));
  return reply && reply->type != XCB_ATOM_NONE;
}

// The keyboard that the master's keys are taken from at the moment.
std::uint16_t sourceOfKeys(const xcb_input_xi_device_info_t& master) {
  auto classes = xcb_input_xi_device_info_classes_iterator(&master);
  for (; classes.rem > 0; xcb_input_device_class_next(&classes)) {
    if (classes.data->type == XCB_INPUT_DEVICE_CLASS_TYPE_KEY) return classes.data->sourceid;
  }
  return 0;
}

void note(const xcb_input_xi_device_info_t& device, bool isOfXTest, KeyboardDevices& devices,
          std::uint16_t& source) {
  if (device.type == XCB_INPUT_DEVICE_TYPE_MASTER_KEYBOARD && devices.core == 0) {
    devices.core = device.deviceid;
    source = sourceOfKeys(device);
  } else if (device.type == XCB_INPUT_DEVICE_TYPE_SLAVE_KEYBOARD &&
             device.attachment == devices.core) {
    (isOfXTest ? devices.injecting : devices.local) = device.deviceid;
  }
}

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

std::optional<KeyboardDevices> KeyboardDevices::find(X11Connection& connection) {
  constexpr std::uint16_t allDevices = 0;
  const auto reply = x11Reply(xcb_input_xi_query_device_reply, connection.get(),
                              xcb_input_xi_query_device(connection.get(), allDevices));
  const xcb_atom_t mark = markOfXTest(connection);
  if (!reply || mark == XCB_ATOM_NONE) return {};
  KeyboardDevices devices;
  std::uint16_t source = 0;
  auto each = xcb_input_xi_query_device_infos_iterator(reply.get());
  for (; each.rem > 0; xcb_input_xi_device_info_next(&each)) {
    note(*each.data, hasProperty(connection, each.data->deviceid, mark), devices, source);
  }
  if (devices.injecting == 0) return {};
  devices.injectedLast = source == devices.injecting;
  return devices;
}

KeyRepeat::KeyRepeat(X11Connection& connection, const KeyboardDevices& devices)
    : connection(connection), devices(devices) {
  const auto controls = x11Reply(xcb_xkb_get_controls_reply, connection.get(),
                                 xcb_xkb_get_controls(connection.get(), devices.injecting));
  isWanted = controls && (controls->enabledControls & XCB_XKB_BOOL_CTRL_REPEAT_KEYS) != 0;
}

void KeyRepeat::suppress() {
  if (!isWanted) return;
  set(false);
  // That counts once the server turns from another keyboard to this one.
  if (!wasUsed && devices.injectedLast) handToLocalKeyboard();
  wasUsed = true;
}

void KeyRepeat::resume() {
  if (isWanted) set(true);
}

void KeyRepeat::leave() {
  if (!wasUsed) return;
  set(true);
  handToLocalKeyboard();
  devices.injectedLast = false;
  wasUsed = false;
}

void KeyRepeat::takeOver() {
  isWanted = true;
  wasUsed = true;
  set(true);
}

void KeyRepeat::set(bool repeats) {
  constexpr std::array<std::uint8_t, 32> perKey{};  // not changed, like all that is 0 here
  constexpr std::uint32_t repeatKeys = XCB_XKB_BOOL_CTRL_REPEAT_KEYS;
  xcb_xkb_set_controls(connection.get(), devices.injecting, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0,
                       repeatKeys, repeats ? repeatKeys : 0, XCB_XKB_CONTROL_CONTROLS_ENABLED, 0, 0,
                       0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, perKey.data());
}

// The release of a key that is not down makes the server turn to its keyboard, and no application
// hears of it.
void KeyRepeat::handToLocalKeyboard() {
  if (devices.local == 0) return;
  const auto* input = xcb_get_extension_data(connection.get(), &xcb_input_id);
  if (input == nullptr || input->present == 0) return;
  constexpr std::uint8_t lastKeycode = 255;
  const auto release = static_cast<std::uint8_t>(input->first_event + XCB_INPUT_DEVICE_KEY_RELEASE);
  xcb_test_fake_input(connection.get(), release, lastKeycode, XCB_CURRENT_TIME, XCB_NONE, 0, 0,
                      static_cast<std::uint8_t>(devices.local));
}

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
