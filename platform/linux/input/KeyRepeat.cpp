#include "platform/linux/input/KeyRepeat.h"

#include <xcb/xinput.h>
#include <xcb/xtest.h>

#include <array>

#include "platform/linux/input/XkbProtocol.h"

namespace quorvin {

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

void KeyRepeat::adopt() {
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

}  // namespace quorvin
