#pragma once

#include <chrono>
#include <cstdint>
#include <exception>
#include <future>
#include <optional>
#include <string>
#include <system_error>
#include <thread>
#include <type_traits>
#include <utility>
#include <variant>

#include "platform/Mutex.h"
#include "platform/linux/x11/X11Connection.h"
#include "platform/linux/x11/X11Error.h"

namespace quorvin {

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
