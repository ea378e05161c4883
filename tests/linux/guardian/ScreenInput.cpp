#include "tests/linux/guardian/ScreenInput.h"

#include <poll.h>
#include <xcb/xinput.h>
#include <xcb/xtest.h>

#include <cstdlib>
#include <stdexcept>
#include <string_view>
#include <thread>

namespace quorvin {
namespace {

struct Free {
  void operator()(void* memory) const { std::free(memory); }
};

template <typename T>
std::unique_ptr<T, Free> owned(T* reply) {
  if (reply == nullptr) throw std::runtime_error("the X server does not answer");
  return std::unique_ptr<T, Free>(reply);
}

// The id of the keyboard that the X server has itself.
std::uint8_t localKeyboard(xcb_connection_t* connection) {
  owned(xcb_input_xi_query_version_reply(connection, xcb_input_xi_query_version(connection, 2, 0),
                                         nullptr));
  const auto devices = owned(xcb_input_xi_query_device_reply(
      connection, xcb_input_xi_query_device(connection, XCB_INPUT_DEVICE_ALL), nullptr));
  for (auto device = xcb_input_xi_query_device_infos_iterator(devices.get()); device.rem > 0;
       xcb_input_xi_device_info_next(&device)) {
    const std::string_view name(xcb_input_xi_device_info_name(device.data), device.data->name_len);
    if (device.data->type == XCB_INPUT_DEVICE_TYPE_SLAVE_KEYBOARD &&
        name.find("XTEST") == std::string_view::npos) {
      return static_cast<std::uint8_t>(device.data->deviceid);
    }
  }
  throw std::runtime_error("the X server has no keyboard");
}

}  // namespace

void PrintTo(const ScreenInput::Pressed& pressed, std::ostream* out) {
  *out << "buttons";
  for (const auto button : pressed.buttons) *out << ' ' << int{button};
  *out << ", keys";
  for (const auto key : pressed.keys) *out << ' ' << int{key};
}

ScreenInput::ScreenInput(const std::string& display)
    : connection(xcb_connect(display.c_str(), nullptr), &xcb_disconnect) {
  if (xcb_connection_has_error(get()) != 0) throw std::runtime_error("cannot open " + display);
}

xcb_window_t ScreenInput::root() const {
  return xcb_setup_roots_iterator(xcb_get_setup(get())).data->root;
}

ScreenInput::Pressed ScreenInput::pressed() {
  constexpr int firstButtonBit = 8;
  constexpr int buttons = 5;
  constexpr int bitsPerByte = 8;
  const auto pointer =
      owned(xcb_query_pointer_reply(get(), xcb_query_pointer(get(), root()), nullptr));
  const auto keymap = owned(xcb_query_keymap_reply(get(), xcb_query_keymap(get()), nullptr));
  Pressed pressed;
  for (int button = 1; button <= buttons; ++button) {
    if ((pointer->mask >> (firstButtonBit + button - 1) & 1) != 0) {
      pressed.buttons.insert(static_cast<std::uint8_t>(button));
    }
  }
  for (std::size_t key = 0; key < sizeof keymap->keys * bitsPerByte; ++key) {
    if ((keymap->keys[key / bitsPerByte] >> (key % bitsPerByte) & 1) != 0) {
      pressed.keys.insert(static_cast<std::uint8_t>(key));
    }
  }
  return pressed;
}

bool ScreenInput::waitFor(const Pressed& expected, std::chrono::milliseconds within) {
  const auto deadline = std::chrono::steady_clock::now() + within;
  while (pressed() != expected) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  return true;
}

std::vector<xcb_keysym_t> ScreenInput::symbolsOf(std::uint8_t key) {
  const auto mapping = owned(
      xcb_get_keyboard_mapping_reply(get(), xcb_get_keyboard_mapping(get(), key, 1), nullptr));
  const auto* symbols = xcb_get_keyboard_mapping_keysyms(mapping.get());
  return {symbols, symbols + mapping->keysyms_per_keycode};
}

ScreenInput::Symbols ScreenInput::symbols() {
  const auto* setup = xcb_get_setup(get());
  Symbols all;
  for (int code = setup->min_keycode; code <= setup->max_keycode; ++code) {
    all[code] = symbolsOf(static_cast<std::uint8_t>(code));
    // The width of the table grows and stays; that says nothing about the keys.
    while (!all[code].empty() && all[code].back() == XCB_NO_SYMBOL) all[code].pop_back();
  }
  return all;
}

std::uint8_t ScreenInput::keyFor(xcb_keysym_t symbol) {
  const auto* setup = xcb_get_setup(get());
  for (int key = setup->min_keycode; key <= setup->max_keycode; ++key) {
    if (symbolsOf(static_cast<std::uint8_t>(key)).front() == symbol) {
      return static_cast<std::uint8_t>(key);
    }
  }
  return 0;
}

void ScreenInput::bind(std::uint8_t key, xcb_keysym_t symbol) {
  xcb_change_keyboard_mapping(get(), 1, key, 1, &symbol);
  flush();
}

void ScreenInput::synchronize() {
  owned(xcb_get_input_focus_reply(get(), xcb_get_input_focus(get()), nullptr));
}

void ScreenInput::waitForSilence() {
  constexpr int silenceMs = 100;
  pollfd source{.fd = xcb_get_file_descriptor(get()), .events = POLLIN, .revents = 0};
  do {
    xcb_discard_reply(get(), xcb_get_input_focus(get()).sequence);
    flush();
    const std::unique_ptr<xcb_generic_event_t, Free> taken(xcb_poll_for_event(get()));
  } while (::poll(&source, 1, silenceMs) > 0);
}

void ScreenInput::fake(std::uint8_t type, std::uint8_t code) {
  xcb_test_fake_input(get(), type, code, XCB_CURRENT_TIME, XCB_NONE, 0, 0, 0);
  flush();
}

void ScreenInput::fakeLocally(std::uint8_t type, std::uint8_t code) {
  const auto keyboard = localKeyboard(get());
  owned(xcb_input_open_device_reply(get(), xcb_input_open_device(get(), keyboard), nullptr));
  const auto first = xcb_get_extension_data(get(), &xcb_input_id)->first_event;
  xcb_test_fake_input(get(), static_cast<std::uint8_t>(first + type), code, XCB_CURRENT_TIME,
                      XCB_NONE, 0, 0, keyboard);
  synchronize();
}

}  // namespace quorvin
