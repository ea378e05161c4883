#include "tests/linux/input/InputWatcher.h"

#include <poll.h>
#include <xkbcommon/xkbcommon-x11.h>

#include <chrono>

#include "platform/linux/input/XkbProtocol.h"

namespace quorvin {

namespace {

constexpr std::uint16_t layoutEvents =
    XCB_XKB_EVENT_TYPE_NEW_KEYBOARD_NOTIFY | XCB_XKB_EVENT_TYPE_MAP_NOTIFY;
constexpr std::uint16_t allMapParts = 0xFF;

constexpr std::uint32_t wanted = XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_KEY_RELEASE |
                                 XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_BUTTON_RELEASE |
                                 XCB_EVENT_MASK_POINTER_MOTION;

bool isModifier(std::uint32_t symbol) {
  return (symbol >= XKB_KEY_Shift_L && symbol <= XKB_KEY_Hyper_R) ||
         symbol == XKB_KEY_ISO_Level3_Shift;
}

}  // namespace

InputWatcher::InputWatcher(const std::string& server)
    : connection(server), context(xkb_context_new(XKB_CONTEXT_NO_DEFAULT_INCLUDES)) {
  auto* display = connection.get();
  xkb_x11_setup_xkb_extension(display, XKB_X11_MIN_MAJOR_XKB_VERSION, XKB_X11_MIN_MINOR_XKB_VERSION,
                              XKB_X11_SETUP_XKB_EXTENSION_NO_FLAGS, nullptr, nullptr,
                              &firstXkbEvent, nullptr);
  xcb_xkb_select_events(display, XCB_XKB_ID_USE_CORE_KBD, layoutEvents, 0, layoutEvents,
                        allMapParts, allMapParts, nullptr);
  const xcb_window_t window = xcb_generate_id(display);
  const std::uint32_t values[]{1, wanted};  // NOLINT: as libxcb takes them
  xcb_create_window(display, XCB_COPY_FROM_PARENT, window, connection.root(), 0, 0,
                    connection.screen().width_in_pixels, connection.screen().height_in_pixels, 0,
                    XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT,
                    XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, static_cast<const void*>(values));
  xcb_map_window(display, window);
  xcb_set_input_focus(display, XCB_INPUT_FOCUS_PARENT, window, XCB_CURRENT_TIME);
  readLayout();
  (void)take();
}

std::vector<SeenEvent> InputWatcher::take() {
  (void)pointer();
  std::vector<SeenEvent> seen;
  while (const auto event = connection.pollEvent()) add(*event, seen);
  return seen;
}

std::vector<SeenEvent> InputWatcher::takeAtLeast(std::size_t count) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  auto seen = take();
  while (seen.size() < count && std::chrono::steady_clock::now() < deadline) {
    pollfd socket{connection.descriptor(), POLLIN, 0};
    poll(&socket, 1, 10);
    for (const auto& event : take()) seen.push_back(event);
  }
  return seen;
}

std::vector<std::uint32_t> InputWatcher::takeTyped() {
  std::vector<std::uint32_t> symbols;
  for (const auto& event : take()) {
    const bool isTyped = event.kind == SeenEvent::Kind::keyDown && !isModifier(event.symbol);
    if (isTyped) symbols.push_back(event.symbol);
  }
  return symbols;
}

Point InputWatcher::pointer() {
  const auto reply = x11Reply(xcb_query_pointer_reply, connection.get(),
                              xcb_query_pointer(connection.get(), connection.root()));
  if (!reply) return {-1, -1};
  return {static_cast<double>(reply->root_x), static_cast<double>(reply->root_y)};
}

void InputWatcher::readLayout() {
  const auto device = xkb_x11_get_core_keyboard_device_id(connection.get());
  keymap.reset(xkb_x11_keymap_new_from_device(context.get(), connection.get(), device,
                                              XKB_KEYMAP_COMPILE_NO_FLAGS));
  scratch.reset(xkb_state_new(keymap.get()));
}

void InputWatcher::add(const xcb_generic_event_t& event, std::vector<SeenEvent>& seen) {
  const auto& input = reinterpret_cast<const xcb_key_press_event_t&>(event);
  const Point position{static_cast<double>(input.root_x), static_cast<double>(input.root_y)};
  const auto note = [&](SeenEvent::Kind kind, std::uint32_t symbol) {
    seen.push_back({kind, input.detail, symbol, input.state, position});
  };
  if ((event.response_type & 0x7f) == firstXkbEvent) {
    readLayout();
    return;
  }
  switch (event.response_type & 0x7f) {
    case XCB_KEY_PRESS:
      note(SeenEvent::Kind::keyDown, symbolOf(input.detail, input.state));
      break;
    case XCB_KEY_RELEASE:
      note(SeenEvent::Kind::keyUp, symbolOf(input.detail, input.state));
      break;
    case XCB_BUTTON_PRESS:
      note(SeenEvent::Kind::buttonDown, 0);
      break;
    case XCB_BUTTON_RELEASE:
      note(SeenEvent::Kind::buttonUp, 0);
      break;
    case XCB_MOTION_NOTIFY:
      note(SeenEvent::Kind::motion, 0);
      break;
    default:
      break;
  }
}

std::uint32_t InputWatcher::symbolOf(std::uint8_t keycode, std::uint16_t state) {
  // The group is in two bits of the state (X Keyboard Extension, "Compatibility Components").
  xkb_state_update_mask(scratch.get(), state & 0xFFU, 0, 0, 0, 0, (state >> 13U) & 3U);
  return xkb_state_key_get_one_sym(scratch.get(), keycode);
}

}  // namespace quorvin
