#pragma once

#include <xcb/xcb.h>

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>

namespace quorvin {

struct FreeReply {
  void operator()(void* reply) const { std::free(reply); }
};

template <typename T>
std::unique_ptr<T, FreeReply> ownedReply(T* reply) {
  return std::unique_ptr<T, FreeReply>(reply);
}

// A connection of the test's own to an X server.
class XcbConnection {
 public:
  explicit XcbConnection(const std::string& display)
      : connection(xcb_connect(display.c_str(), nullptr), &xcb_disconnect) {
    if (xcb_connection_has_error(get()) != 0) throw std::runtime_error("cannot open " + display);
  }

  [[nodiscard]] xcb_connection_t* get() const { return connection.get(); }

  [[nodiscard]] const xcb_screen_t& screen() const {
    return *xcb_setup_roots_iterator(xcb_get_setup(get())).data;
  }

  [[nodiscard]] xcb_atom_t atom(const std::string& name) const {
    const auto reply = ownedReply(xcb_intern_atom_reply(
        get(), xcb_intern_atom(get(), 0, static_cast<std::uint16_t>(name.size()), name.c_str()),
        nullptr));
    return reply == nullptr ? xcb_atom_t{XCB_ATOM_NONE} : reply->atom;
  }

  // Returns once the server has handled every request so far.
  void synchronize() const {
    ownedReply(xcb_get_input_focus_reply(get(), xcb_get_input_focus(get()), nullptr));
  }

 private:
  std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> connection;
};

}  // namespace quorvin
