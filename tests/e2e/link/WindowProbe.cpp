#include "tests/e2e/link/WindowProbe.h"

#include <chrono>
#include <cstdlib>
#include <stdexcept>
#include <thread>

namespace quorvin {
namespace {

struct Free {
  void operator()(void* reply) const { std::free(reply); }
};

template <typename T>
std::unique_ptr<T, Free> owned(T* reply) {
  return std::unique_ptr<T, Free>(reply);
}

}  // namespace

WindowProbe::WindowProbe(const std::string& display)
    : connection(xcb_connect(display.c_str(), nullptr), &xcb_disconnect) {
  if (xcb_connection_has_error(connection.get()) != 0) {
    throw std::runtime_error("cannot look at " + display);
  }
}

xcb_window_t WindowProbe::root() const {
  return xcb_setup_roots_iterator(xcb_get_setup(connection.get())).data->root;
}

std::vector<xcb_window_t> WindowProbe::shownWindows() const {
  const auto tree = owned(
      xcb_query_tree_reply(connection.get(), xcb_query_tree(connection.get(), root()), nullptr));
  if (tree == nullptr) return {};
  const auto* children = xcb_query_tree_children(tree.get());
  std::vector<xcb_window_t> shown;
  for (int child = 0; child < xcb_query_tree_children_length(tree.get()); ++child) {
    if (isShown(children[child])) shown.push_back(children[child]);
  }
  return shown;
}

std::optional<xcb_window_t> WindowProbe::waitForWindow(const std::string& title) const {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
  while (std::chrono::steady_clock::now() < deadline) {
    for (const auto window : shownWindows()) {
      if (titleOf(window) == title) return window;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return std::nullopt;
}

bool WindowProbe::isShown(xcb_window_t window) const {
  const auto attributes = owned(xcb_get_window_attributes_reply(
      connection.get(), xcb_get_window_attributes(connection.get(), window), nullptr));
  return attributes != nullptr && attributes->map_state == XCB_MAP_STATE_VIEWABLE;
}

std::string WindowProbe::titleOf(xcb_window_t window) const {
  const auto property = owned(xcb_get_property_reply(
      connection.get(),
      xcb_get_property(connection.get(), 0, window, atom("_NET_WM_NAME"), XCB_ATOM_ANY, 0, 64),
      nullptr));
  if (property == nullptr) return {};
  return {static_cast<const char*>(xcb_get_property_value(property.get())),
          static_cast<std::size_t>(xcb_get_property_value_length(property.get()))};
}

JpegSize WindowProbe::sizeOf(xcb_window_t window) const {
  const auto geometry = owned(xcb_get_geometry_reply(
      connection.get(), xcb_get_geometry(connection.get(), window), nullptr));
  if (geometry == nullptr) return {};
  return {.widthPx = geometry->width, .heightPx = geometry->height};
}

void WindowProbe::askToClose(xcb_window_t window) const {
  xcb_client_message_event_t event{};
  event.response_type = XCB_CLIENT_MESSAGE;
  event.format = 32;
  event.window = window;
  event.type = atom("WM_PROTOCOLS");
  event.data.data32[0] = atom("WM_DELETE_WINDOW");
  xcb_send_event(connection.get(), 0, window, XCB_EVENT_MASK_NO_EVENT,
                 reinterpret_cast<const char*>(&event));
  xcb_flush(connection.get());
}

xcb_atom_t WindowProbe::atom(const std::string& name) const {
  const auto reply = owned(xcb_intern_atom_reply(
      connection.get(),
      xcb_intern_atom(connection.get(), 0, static_cast<std::uint16_t>(name.size()), name.c_str()),
      nullptr));
  return reply == nullptr ? xcb_atom_t{XCB_ATOM_NONE} : reply->atom;
}

}  // namespace quorvin
