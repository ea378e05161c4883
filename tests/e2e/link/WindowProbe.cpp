#include "tests/e2e/link/WindowProbe.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <thread>

namespace quorvin {

namespace {

constexpr std::uint16_t cornerSidePx = 40;

}  // namespace

OtherWindow::OtherWindow(const std::string& display, Kind kind)
    : connection(display), window(xcb_generate_id(connection.get())) {
  const auto& screen = connection.screen();
  const bool isCurtain = kind == Kind::curtain;
  const std::array<std::uint32_t, 2> values{screen.white_pixel / 2, isCurtain ? 1U : 0U};
  xcb_create_window(connection.get(), XCB_COPY_FROM_PARENT, window, screen.root, 0, 0,
                    isCurtain ? screen.width_in_pixels : cornerSidePx,
                    isCurtain ? screen.height_in_pixels : cornerSidePx, 0,
                    XCB_WINDOW_CLASS_INPUT_OUTPUT, screen.root_visual,
                    XCB_CW_BACK_PIXEL | XCB_CW_OVERRIDE_REDIRECT, values.data());
  if (kind == Kind::fullScreen) askForFullScreen();
  xcb_map_window(connection.get(), window);
  connection.synchronize();
}

// Before the window is mapped, its state is a wish of its own.
void OtherWindow::askForFullScreen() const {
  const auto state = connection.atom("_NET_WM_STATE_FULLSCREEN");
  xcb_change_property(connection.get(), XCB_PROP_MODE_REPLACE, window,
                      connection.atom("_NET_WM_STATE"), XCB_ATOM_ATOM, 32, 1, &state);
}

namespace {

constexpr std::uint32_t wordsMax = 64;  // of a property

}  // namespace

std::vector<xcb_window_t> WindowProbe::shownWindows() const {
  const auto tree = ownedReply(xcb_query_tree_reply(
      connection.get(), xcb_query_tree(connection.get(), connection.screen().root), nullptr));
  if (tree == nullptr) return {};
  const auto* children = xcb_query_tree_children(tree.get());
  std::vector<xcb_window_t> shown;
  for (int child = 0; child < xcb_query_tree_children_length(tree.get()); ++child) {
    if (isShown(children[child])) shown.push_back(children[child]);
  }
  return shown;
}

std::optional<xcb_window_t> WindowProbe::waitForWindow(const std::string& title) const {
  return waitFor([&] { return findTitle(shownWindows(), title); });
}

std::optional<xcb_window_t> WindowProbe::waitForManagedWindow(const std::string& title) const {
  return waitFor([&] { return findTitle(managedWindows(), title); });
}

// One that is only starting has its properties set already, but may miss windows that come now. A
// question that it answers shows that it attends to everything.
bool WindowProbe::waitForWindowManager() const {
  const auto asked = xcb_generate_id(connection.get());
  const auto& screen = connection.screen();
  xcb_create_window(connection.get(), XCB_COPY_FROM_PARENT, asked, screen.root, 0, 0, 1, 1, 0,
                    XCB_WINDOW_CLASS_INPUT_OUTPUT, screen.root_visual, 0, nullptr);
  const auto answered = waitFor([&]() -> std::optional<xcb_window_t> {
    tellWindowManager(asked, "_NET_REQUEST_FRAME_EXTENTS", 0);
    const auto answer = property(asked, "_NET_FRAME_EXTENTS");
    return answer == nullptr || answer->value_len == 0 ? std::nullopt : std::optional(asked);
  });
  xcb_destroy_window(connection.get(), asked);
  return answered.has_value();
}

std::optional<xcb_window_t> WindowProbe::waitFor(
    const std::function<std::optional<xcb_window_t>()>& find) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (std::chrono::steady_clock::now() < deadline) {
    if (const auto window = find()) return window;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return std::nullopt;
}

std::optional<xcb_window_t> WindowProbe::findTitle(const Windows& windows,
                                                   const std::string& title) const {
  for (const auto window : windows) {
    if (titleOf(window) == title) return window;
  }
  return std::nullopt;
}

std::vector<xcb_window_t> WindowProbe::managedWindows() const {
  const auto windows = property(connection.screen().root, "_NET_CLIENT_LIST");
  if (windows == nullptr || windows->type != XCB_ATOM_WINDOW) return {};
  const auto* list = static_cast<const xcb_window_t*>(xcb_get_property_value(windows.get()));
  return {list, list + windows->value_len};
}

WindowProbe::Property WindowProbe::property(xcb_window_t window, const std::string& name) const {
  return ownedReply(
      xcb_get_property_reply(connection.get(),
                             xcb_get_property(connection.get(), 0, window, connection.atom(name),
                                              XCB_ATOM_ANY, 0, wordsMax),
                             nullptr));
}

bool WindowProbe::isShown(xcb_window_t window) const {
  const auto attributes = ownedReply(xcb_get_window_attributes_reply(
      connection.get(), xcb_get_window_attributes(connection.get(), window), nullptr));
  return attributes != nullptr && attributes->map_state == XCB_MAP_STATE_VIEWABLE;
}

std::string WindowProbe::titleOf(xcb_window_t window) const {
  const auto text = property(window, "_NET_WM_NAME");
  if (text == nullptr) return {};
  return {static_cast<const char*>(xcb_get_property_value(text.get())),
          static_cast<std::size_t>(xcb_get_property_value_length(text.get()))};
}

JpegSize WindowProbe::sizeOf(xcb_window_t window) const {
  const auto geometry = ownedReply(xcb_get_geometry_reply(
      connection.get(), xcb_get_geometry(connection.get(), window), nullptr));
  if (geometry == nullptr) return {};
  return {.widthPx = geometry->width, .heightPx = geometry->height};
}

void WindowProbe::askToClose(xcb_window_t window) const {
  xcb_client_message_event_t event{};
  event.response_type = XCB_CLIENT_MESSAGE;
  event.format = 32;
  event.window = window;
  event.type = connection.atom("WM_PROTOCOLS");
  event.data.data32[0] = connection.atom("WM_DELETE_WINDOW");
  xcb_send_event(connection.get(), 0, window, XCB_EVENT_MASK_NO_EVENT,
                 reinterpret_cast<const char*>(&event));
  xcb_flush(connection.get());
}

void WindowProbe::kill(xcb_window_t window) const {
  xcb_kill_client(connection.get(), window);
  xcb_flush(connection.get());
}

bool WindowProbe::killGtk() const {
  const auto found = waitFor([&]() -> std::optional<xcb_window_t> {
    const auto tree = ownedReply(xcb_query_tree_reply(
        connection.get(), xcb_query_tree(connection.get(), connection.screen().root), nullptr));
    if (tree == nullptr) return std::nullopt;
    const auto* children = xcb_query_tree_children(tree.get());
    for (int child = 0; child < xcb_query_tree_children_length(tree.get()); ++child) {
      const auto leader = property(children[child], "WM_CLIENT_LEADER");
      if (leader != nullptr && leader->value_len > 0) return children[child];
    }
    return std::nullopt;
  });
  if (found) kill(*found);
  return found.has_value();
}

bool WindowProbe::activate(xcb_window_t window) const {
  const auto managed = waitFor([&]() -> std::optional<xcb_window_t> {
    const auto windows = managedWindows();
    return std::ranges::find(windows, window) == windows.end() ? std::nullopt
                                                               : std::optional(window);
  });
  constexpr std::uint32_t userDidIt = 2;
  if (managed) tellWindowManager(window, "_NET_ACTIVE_WINDOW", userDidIt);
  return managed.has_value();
}

void WindowProbe::minimize(xcb_window_t window) const {
  constexpr std::uint32_t iconicState = 3;
  tellWindowManager(window, "WM_CHANGE_STATE", iconicState);
}

void WindowProbe::switchToDesktop(std::uint32_t number) const {
  tellWindowManager(connection.screen().root, "_NET_CURRENT_DESKTOP", number);
}

void WindowProbe::tellWindowManager(xcb_window_t window, const std::string& type,
                                    std::uint32_t first) const {
  xcb_client_message_event_t event{};
  event.response_type = XCB_CLIENT_MESSAGE;
  event.format = 32;
  event.window = window;
  event.type = connection.atom(type);
  event.data.data32[0] = first;
  xcb_send_event(connection.get(), 0, connection.screen().root,
                 XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                 reinterpret_cast<const char*>(&event));
  xcb_flush(connection.get());
}

}  // namespace quorvin
