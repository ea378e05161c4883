#include "tests/linux/input/KeyboardDesk.h"

#include <xcb/xinput.h>
#include <xcb/xtest.h>

#include <stdexcept>

#include "platform/linux/input/XkbProtocol.h"
#include "tests/linux/system/ChildProcess.h"

namespace quorvin {

KeyboardDesk::KeyboardDesk(const std::string& server) : server(server), connection(server) {
  (void)x11Reply(xcb_xkb_use_extension_reply, connection.get(),
                 xcb_xkb_use_extension(connection.get(), 1, 0));
  const auto version = x11Reply(xcb_input_xi_query_version_reply, connection.get(),
                                xcb_input_xi_query_version(connection.get(), 2, 1));
  const auto found = KeyboardDevices::find(connection);
  if (!version || !found) throw std::runtime_error("no keyboards");
  devices = *found;
}

void KeyboardDesk::setLayout(const std::string& layout) {
  // The shell says its line when setxkbmap has done.
  const ChildProcess change(
      {"sh", "-c", "setxkbmap -display \"$0\" -option '' $1 && echo done >&3", server, layout});
  if (change.readyLine() != "done") throw std::runtime_error("no layout " + layout);
}

void KeyboardDesk::lock(bool capsLock, bool numLock) {
  const int mask = (capsLock ? XCB_MOD_MASK_LOCK : 0) | (numLock ? XCB_MOD_MASK_2 : 0);
  xcb_xkb_latch_lock_state(connection.get(), XCB_XKB_ID_USE_CORE_KBD,
                           XCB_MOD_MASK_LOCK | XCB_MOD_MASK_2, static_cast<std::uint8_t>(mask), 0,
                           0, 0, 0, 0);
  sync();
}

void KeyboardDesk::lockGroup(std::uint8_t group) {
  xcb_xkb_latch_lock_state(connection.get(), XCB_XKB_ID_USE_CORE_KBD, 0, 0, 1, group, 0, 0, 0);
  sync();
}

void KeyboardDesk::typeWithXTest(std::uint8_t keycode) {
  for (const int type : {XCB_KEY_PRESS, XCB_KEY_RELEASE}) {
    xcb_test_fake_input(connection.get(), static_cast<std::uint8_t>(type), keycode,
                        XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
  }
  sync();
}

KeyboardDesk::Condition KeyboardDesk::condition() {
  Condition found;
  const auto state = x11Reply(xcb_xkb_get_state_reply, connection.get(),
                              xcb_xkb_get_state(connection.get(), XCB_XKB_ID_USE_CORE_KBD));
  found.heldModifiers = state->baseMods;
  found.lockedModifiers = state->lockedMods;
  found.group = state->group;
  const auto control = x11Reply(xcb_get_keyboard_control_reply, connection.get(),
                                xcb_get_keyboard_control(connection.get()));
  found.lights = control->led_mask;
  found.repeats = control->global_auto_repeat != 0;
  found.repeatsOfKeys.assign(std::begin(control->auto_repeats), std::end(control->auto_repeats));
  for (const auto device : {devices.core, devices.local, devices.injecting}) {
    found.repeatControls.push_back(repeatControl(device));
  }
  found.keysDown = keysDown();
  for (int keycode = 8; keycode <= 255; ++keycode) {
    for (const auto symbol : symbolsOf(static_cast<std::uint8_t>(keycode))) {
      found.symbols.push_back(symbol);
    }
  }
  return found;
}

std::vector<std::uint32_t> KeyboardDesk::symbolsOf(std::uint8_t keycode) {
  const auto reply = x11Reply(xcb_get_keyboard_mapping_reply, connection.get(),
                              xcb_get_keyboard_mapping(connection.get(), keycode, 1));
  const auto* first = xcb_get_keyboard_mapping_keysyms(reply.get());
  std::vector<std::uint32_t> symbols(first,
                                     first + xcb_get_keyboard_mapping_keysyms_length(reply.get()));
  while (!symbols.empty() && symbols.back() == 0) symbols.pop_back();
  return symbols;
}

std::vector<std::uint8_t> KeyboardDesk::keysDown() {
  const auto reply =
      x11Reply(xcb_query_keymap_reply, connection.get(), xcb_query_keymap(connection.get()));
  std::vector<std::uint8_t> down;
  for (int keycode = 8; keycode <= 255; ++keycode) {
    const bool isDown = (reply->keys[keycode / 8] >> (keycode % 8) & 1) != 0;
    if (isDown) down.push_back(static_cast<std::uint8_t>(keycode));
  }
  return down;
}

void KeyboardDesk::fake(std::uint8_t keycode, bool isDown) {
  const auto* input = xcb_get_extension_data(connection.get(), &xcb_input_id);
  const int type =
      input->first_event + (isDown ? XCB_INPUT_DEVICE_KEY_PRESS : XCB_INPUT_DEVICE_KEY_RELEASE);
  xcb_test_fake_input(connection.get(), static_cast<std::uint8_t>(type), keycode, XCB_CURRENT_TIME,
                      XCB_NONE, 0, 0, static_cast<std::uint8_t>(devices.local));
  sync();
}

void KeyboardDesk::sync() {
  for (int round = 0; round < 2; ++round) {
    (void)x11Reply(xcb_get_input_focus_reply, connection.get(),
                   xcb_get_input_focus(connection.get()));
  }
}

std::uint32_t KeyboardDesk::repeatControl(std::uint16_t device) {
  const auto reply = x11Reply(xcb_xkb_get_controls_reply, connection.get(),
                              xcb_xkb_get_controls(connection.get(), device));
  return reply->enabledControls & XCB_XKB_BOOL_CTRL_REPEAT_KEYS;
}

}  // namespace quorvin
