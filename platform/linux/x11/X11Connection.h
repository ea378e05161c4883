#pragma once

#include <xcb/xcb.h>

#include <chrono>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>
#include <thread>

namespace quorvin {

// Puts the name of the file with the keys to X displays into the environment (XAUTHORITY), unless
// it is there already. libXau otherwise makes it up in one static buffer for all threads, which is
// a race between two of them that open a display. Call once, before there are further threads.
void nameDisplayAuthority();

struct X11Free {
  void operator()(void* memory) const { std::free(memory); }  // NOLINT: as libxcb asks for it
};

// A reply or an event that libxcb allocated.
template <typename T>
using X11Owned = std::unique_ptr<T, X11Free>;

// Waits for the reply of a request, as in `x11Reply(xcb_foo_reply, connection, xcb_foo(...))`.
// Null when the request failed or the connection broke.
template <typename Reply, typename Cookie>
[[nodiscard]] X11Owned<Reply> x11Reply(Reply* (*take)(xcb_connection_t*, Cookie,
                                                      xcb_generic_error_t**),
                                       xcb_connection_t* connection, Cookie cookie) {
  return X11Owned<Reply>(take(connection, cookie, nullptr));
}

// One connection to an X server and the screen it was opened for. Used by one thread at a time.
class X11Connection {
 public:
  // `displayName` as in DISPLAY, which counts when it is empty. Throws Error when there is no
  // server to talk to.
  explicit X11Connection(const std::string& displayName);

  [[nodiscard]] xcb_connection_t* get() const { return connection.get(); }
  [[nodiscard]] const xcb_screen_t& screen() const { return *defaultScreen; }
  [[nodiscard]] xcb_window_t root() const { return defaultScreen->root; }
  // Readable when events may be waiting.
  [[nodiscard]] int descriptor() const { return xcb_get_file_descriptor(get()); }
  // Once broken, a connection stays broken.
  [[nodiscard]] bool isBroken() const { return xcb_connection_has_error(get()) != 0; }
  // True when the server runs on this machine, so that memory can be shared with it.
  [[nodiscard]] bool isLocal() const;
  // The next event that has arrived, or null; does not wait.
  [[nodiscard]] X11Owned<xcb_generic_event_t> pollEvent() {
    return X11Owned<xcb_generic_event_t>(xcb_poll_for_event(get()));
  }
  // Waits until the server has carried out a request sent with a `_checked` call.
  [[nodiscard]] bool succeeded(xcb_void_cookie_t cookie) {
    return X11Owned<xcb_generic_error_t>(xcb_request_check(get(), cookie)) == nullptr &&
           !isBroken();
  }

 private:
  struct Disconnect {
    void operator()(xcb_connection_t* opened) const { xcb_disconnect(opened); }
  };

  std::unique_ptr<xcb_connection_t, Disconnect> connection;
  const xcb_screen_t* defaultScreen = nullptr;
};

// One attempt to open an X display, made on a thread of its own, since libxcb waits without end for
// a server that takes the connection and then does not answer. Belongs to one thread; neither its
// construction nor its destruction waits for the server.
class DisplayAttempt {
 public:
  // Runs on the attempt's thread once the display is open; the connection is closed again when it
  // returns false. It may outlive this object.
  using Prepare = std::function<bool(X11Connection&)>;

  DisplayAttempt(const std::string& display, Prepare prepare);
  // Closes the connection; that of an attempt still going on, at the end of the attempt.
  ~DisplayAttempt();

  // Waits for the end of the attempt, but not longer than this.
  [[nodiscard]] bool isOverWithin(std::chrono::milliseconds limit);
  // Once the attempt is over: the connection, which this object keeps, or null.
  [[nodiscard]] X11Connection* connection();

 private:
  struct Outcome;
  static void make(const std::shared_ptr<Outcome>& outcome, const std::string& display,
                   const Prepare& prepare);

  const std::shared_ptr<Outcome> outcome;
  std::thread thread;
};

}  // namespace quorvin
