#pragma once

#include <xcb/xcb.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <exception>
#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <thread>
#include <type_traits>
#include <utility>
#include <variant>

#include "platform/Mutex.h"
#include "platform/linux/x11/X11Error.h"

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

// The extensions of an X server that capturing can make use of; each is empty when the server
// lacks it or knows only a version that is too old. Their protocols are described at
// https://gitlab.freedesktop.org/xorg/proto/xorgproto.
struct X11Extensions {
  struct Events {
    std::uint8_t first = 0;  // number of the extension's first event
  };
  struct Requests {
    std::uint8_t major = 0;  // number that its requests and generic events carry
  };

  // Asks the server, which also tells it that the extensions are going to be used.
  [[nodiscard]] static X11Extensions negotiate(X11Connection& connection);

  bool sharedMemory = false;              // MIT-SHM
  bool sharedMemoryByDescriptor = false;  // MIT-SHM 1.2
  std::optional<Events> fixes;            // XFIXES 2: regions, cursor images
  std::optional<Events> damage;           // DAMAGE 1.1, given only together with XFIXES
  std::optional<Events> randr;            // RANDR 1.5: monitors
  std::optional<Requests> input;          // XInputExtension 2.1: raw motion even during grabs
};

// A connection and what its server can do.
struct X11Server {
  // `displayName` as in DISPLAY, which counts when it is empty. Waits for the server; throws Error
  // when there is none to talk to.
  explicit X11Server(const std::string& displayName)
      : connection(displayName), extensions(X11Extensions::negotiate(connection)) {}

  X11Connection connection;
  X11Extensions extensions;
};

// What listing the displays leaves to the stream that comes after it, so that a start makes one
// connection. Any thread.
class X11SpareServer {
 public:
  explicit X11SpareServer(X11Server server) : server(std::move(server)) {}

  // Nothing when it was taken before or the connection has broken; does not wait for the server.
  [[nodiscard]] std::optional<X11Server> take();

 private:
  Mutex mutex;
  std::optional<X11Server> server QUORVIN_GUARDED_BY(mutex);
};

// Runs `call`, which may wait for a server, on a thread of its own, with a timeout of two seconds.
// Returns its result, the error that it throws, or an error after the timeout. The call then goes
// on and its result is dropped, so that it has to keep all that it uses.
template <typename Call>
[[nodiscard]] std::variant<std::invoke_result_t<Call>, Error> callWithTimeout(Call call) {
  using Result = std::variant<std::invoke_result_t<Call>, Error>;
  try {
    std::packaged_task<Result()> task([call = std::move(call)]() -> Result {
      try {
        return call();
      } catch (const Error& error) {
        return error;
      } catch (const std::exception& error) {
        return outOfResources(error);
      }
    });
    auto result = task.get_future();
    std::thread(std::move(task)).detach();
    if (result.wait_for(std::chrono::seconds(2)) == std::future_status::ready) return result.get();
  } catch (const std::system_error& error) {
    return outOfResources(error);
  }
  return x11Error(X11ErrorCode::noAnswer,
                  "The X display does not answer. Wait until the program that holds it "
                  "lets go, then start again.");
}

}  // namespace quorvin
