#include "guardian/InputDisplay.h"

#include <unistd.h>
#include <xcb/res.h>
#include <xcb/xinput.h>
#include <xcb/xtest.h>

#include <cstddef>
#include <cstdlib>
#include <stdexcept>
#include <string_view>
#include <vector>

namespace quorvin::guardian {
namespace {

// The server marks its devices for synthetic input with it (xserver-properties.h).
constexpr std::string_view syntheticPropertyName = "XTEST Device";
constexpr std::size_t bitsPerByte = 8;

struct Free {
  void operator()(void* memory) const { std::free(memory); }  // NOLINT: as libxcb asks for it
};

// Waits for a reply; null when the request failed or the connection broke.
template <typename Reply, typename Cookie>
std::unique_ptr<Reply, Free> reply(Reply* (*take)(xcb_connection_t*, Cookie, xcb_generic_error_t**),
                                   xcb_connection_t* connection, Cookie cookie) {
  return std::unique_ptr<Reply, Free>(take(connection, cookie, nullptr));
}

template <std::size_t size>
void addBits(const std::uint8_t (&bits)[size], std::set<std::uint8_t>& codes) {  // NOLINT: libxcb's
  for (std::size_t code = 0; code < size * bitsPerByte; ++code) {
    if ((bits[code / bitsPerByte] >> (code % bitsPerByte) & 1) != 0) {
      codes.insert(static_cast<std::uint8_t>(code));
    }
  }
}

}  // namespace

InputDisplay::InputDisplay() : connection(xcb_connect(nullptr, nullptr)) {
  const auto test = reply(xcb_test_get_version_reply, get(),
                          xcb_test_get_version(get(), XCB_TEST_MAJOR_VERSION, 2));
  const auto input =
      reply(xcb_input_xi_query_version_reply, get(), xcb_input_xi_query_version(get(), 2, 0));
  const auto atom =
      reply(xcb_intern_atom_reply, get(),
            xcb_intern_atom(get(), 0, syntheticPropertyName.size(), syntheticPropertyName.data()));
  if (isBroken()) throw std::runtime_error("the X display cannot be opened");
  if (test == nullptr || input == nullptr || atom == nullptr) {
    throw std::runtime_error("the X display takes no synthetic input");
  }
  syntheticProperty = atom->atom;
}

void InputDisplay::discardEvents() {
  while (const std::unique_ptr<xcb_generic_event_t, Free> event{xcb_poll_for_event(get())}) {
  }
}

bool InputDisplay::tellsProcesses() {
  const auto* extension = xcb_get_extension_data(get(), &xcb_res_id);
  return extension != nullptr && extension->present != 0 && hasClient(::getpid());
}

bool InputDisplay::hasClient(pid_t process) {
  const xcb_res_client_id_spec_t everyClient{.client = XCB_NONE,
                                             .mask = XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
  const auto ids = reply(xcb_res_query_client_ids_reply, get(),
                         xcb_res_query_client_ids(get(), 1, &everyClient));
  if (ids == nullptr) return false;
  for (auto id = xcb_res_query_client_ids_ids_iterator(ids.get()); id.rem > 0;
       xcb_res_client_id_value_next(&id)) {
    if (xcb_res_client_id_value_value_length(id.data) > 0 &&
        *xcb_res_client_id_value_value(id.data) == static_cast<std::uint32_t>(process)) {
      return true;
    }
  }
  return false;
}

void InputDisplay::release(const HeldInput& held) {
  const auto down = heldBySyntheticInput();
  for (const auto button : held.buttons) {
    if (down.buttons.contains(button)) fake(XCB_BUTTON_RELEASE, button);
  }
  for (const auto key : held.keys) {
    if (down.keys.contains(key)) fake(XCB_KEY_RELEASE, key);
  }
  xcb_flush(get());
}

void InputDisplay::fake(std::uint8_t type, std::uint8_t code) {
  xcb_test_fake_input(get(), type, code, XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
}

HeldInput InputDisplay::heldBySyntheticInput() {
  HeldInput held;
  const auto devices = reply(xcb_input_xi_query_device_reply, get(),
                             xcb_input_xi_query_device(get(), XCB_INPUT_DEVICE_ALL));
  if (devices == nullptr) return held;
  for (auto device = xcb_input_xi_query_device_infos_iterator(devices.get()); device.rem > 0;
       xcb_input_xi_device_info_next(&device)) {
    if (isSynthetic(device.data->deviceid)) {
      addHeldBy(static_cast<std::uint8_t>(device.data->deviceid), held);
    }
  }
  return held;
}

bool InputDisplay::isSynthetic(std::uint16_t device) {
  const auto property =
      reply(xcb_input_xi_get_property_reply, get(),
            xcb_input_xi_get_property(get(), device, 0, syntheticProperty, XCB_ATOM_ANY, 0, 1));
  return property != nullptr && property->num_items > 0;
}

void InputDisplay::addHeldBy(std::uint8_t device, HeldInput& held) {
  const auto state =
      reply(xcb_input_query_device_state_reply, get(), xcb_input_query_device_state(get(), device));
  if (state == nullptr) return;
  for (auto part = xcb_input_query_device_state_classes_iterator(state.get()); part.rem > 0;
       xcb_input_input_state_next(&part)) {
    if (part.data->class_id == XCB_INPUT_INPUT_CLASS_KEY) {
      addBits(reinterpret_cast<const xcb_input_key_state_t*>(part.data)->keys, held.keys);
    } else if (part.data->class_id == XCB_INPUT_INPUT_CLASS_BUTTON) {
      addBits(reinterpret_cast<const xcb_input_button_state_t*>(part.data)->buttons, held.buttons);
    }
  }
}

void InputDisplay::unbind(const std::set<std::uint8_t>& keys) {
  for (const auto key : keys) {
    const auto symbols =
        reply(xcb_get_keyboard_mapping_reply, get(), xcb_get_keyboard_mapping(get(), key, 1));
    if (symbols == nullptr) continue;
    const std::vector<xcb_keysym_t> none(symbols->keysyms_per_keycode, XCB_NO_SYMBOL);
    xcb_change_keyboard_mapping(get(), 1, key, symbols->keysyms_per_keycode, none.data());
  }
  // Returns once the server has carried it out.
  static_cast<void>(reply(xcb_get_input_focus_reply, get(), xcb_get_input_focus(get())));
}

}  // namespace quorvin::guardian
