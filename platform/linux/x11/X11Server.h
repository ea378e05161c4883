#pragma once

#include <chrono>
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
#include "platform/linux/x11/X11Extensions.h"

namespace quorvin {

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
  [[nodiscard]] std::optional<X11Server> take() {
    const MutexLock lock(mutex);
    auto taken = std::exchange(server, {});
    if (!taken) return {};
    // libxcb sees the end of a connection when it reads from it.
    while (taken->connection.pollEvent() != nullptr) {
    }
    if (taken->connection.isBroken()) return {};
    return taken;
  }

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
