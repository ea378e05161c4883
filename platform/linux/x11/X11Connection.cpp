#include "platform/linux/x11/X11Connection.h"

#include <sys/socket.h>
#include <xcb/damage.h>
#include <xcb/randr.h>
#include <xcb/shm.h>
#include <xcb/xfixes.h>
#include <xcb/xinput.h>

#include <condition_variable>
#include <cstdlib>
#include <string>
#include <system_error>
#include <utility>

namespace quorvin {

void nameDisplayAuthority() {
  // The same place where libXau looks.
  constexpr int keepOther = 0;
  const char* home = std::getenv("HOME");
  if (home != nullptr)
    setenv("XAUTHORITY", (std::string(home) + "/.Xauthority").c_str(), keepOther);
}

namespace {

const xcb_screen_t* screenNumbered(xcb_connection_t* connection, int number) {
  auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
  for (; number > 0 && screens.rem > 1; --number) xcb_screen_next(&screens);
  return screens.rem > 0 ? screens.data : nullptr;
}

// Looking up the authorization goes through one buffer that libXau shares between all threads
// (XauFileName, https://gitlab.freedesktop.org/xorg/lib/libxau), so only one may connect at a time.
xcb_connection_t* connectAlone(const std::string& displayName, int& screenNumber) {
  static Mutex libXauMutex;
  const MutexLock lock(libXauMutex);
  return xcb_connect(displayName.empty() ? nullptr : displayName.c_str(), &screenNumber);
}

}  // namespace

X11Connection::X11Connection(const std::string& displayName) {
  int screenNumber = 0;
  connection.reset(connectAlone(displayName, screenNumber));
  if (!isBroken()) defaultScreen = screenNumbered(get(), screenNumber);
  if (defaultScreen == nullptr) {
    throw x11Error(X11ErrorCode::noServer,
                   "No X display can be opened. Start a desktop session or set DISPLAY.");
  }
}

bool X11Connection::isLocal() const {
  sockaddr_storage address{};
  socklen_t length = sizeof address;
  return getsockname(descriptor(), reinterpret_cast<sockaddr*>(&address), &length) == 0 &&
         address.ss_family == AF_UNIX;
}

struct DisplayAttempt::Outcome {
  std::condition_variable changed;
  Mutex mutex;
  bool isOver QUORVIN_GUARDED_BY(mutex) = false;
  bool isWanted QUORVIN_GUARDED_BY(mutex) = true;
  std::unique_ptr<X11Connection> connection QUORVIN_GUARDED_BY(mutex);
};

DisplayAttempt::DisplayAttempt(const std::string& display, Prepare prepare)
    : outcome(std::make_shared<Outcome>()) {
  try {
    thread = std::thread([outcome = outcome, display, prepare = std::move(prepare)] {
      make(outcome, display, prepare);
    });
  } catch (const std::system_error&) {
    // Over before it began, without a connection.
    outcome->isOver = true;
  }
}

DisplayAttempt::~DisplayAttempt() {
  bool isOver = false;
  {
    const MutexLock lock(outcome->mutex);
    outcome->isWanted = false;
    isOver = outcome->isOver;
  }
  if (!thread.joinable()) return;
  if (isOver) {
    thread.join();
  } else {
    // Nothing ends the wait inside libxcb; the thread holds nothing but its own attempt.
    thread.detach();
  }
}

void DisplayAttempt::make(const std::shared_ptr<Outcome>& outcome, const std::string& display,
                          const Prepare& prepare) {
  std::unique_ptr<X11Connection> connection;
  try {
    connection = std::make_unique<X11Connection>(display);
    if (!prepare(*connection)) connection.reset();
  } catch (const Error&) {
    // That there is no connection is all there is to know about it.
  }
  const MutexLock lock(outcome->mutex);
  outcome->isOver = true;
  if (outcome->isWanted) outcome->connection = std::move(connection);
  outcome->changed.notify_all();
}

bool DisplayAttempt::isOverWithin(std::chrono::milliseconds limit) {
  MutexLock lock(outcome->mutex);
  return outcome->changed.wait_until(
      lock.forWaiting(), std::chrono::steady_clock::now() + limit,
      [this]() QUORVIN_REQUIRES(outcome->mutex) { return outcome->isOver; });
}

X11Connection* DisplayAttempt::connection() {
  const MutexLock lock(outcome->mutex);
  return outcome->connection.get();
}

// --- What the server can do

namespace {

using Version = std::pair<std::uint32_t, std::uint32_t>;

const xcb_query_extension_reply_t* find(xcb_connection_t* connection, xcb_extension_t& extension) {
  const auto* data = xcb_get_extension_data(connection, &extension);
  return data != nullptr && data->present != 0 ? data : nullptr;
}

// The first event of an extension whose QueryVersion reply names at least `required`.
template <typename Reply>
std::optional<X11Extensions::Events> eventsFrom(const xcb_query_extension_reply_t* extension,
                                                const X11Owned<Reply>& version, Version required) {
  if (!version || Version(version->major_version, version->minor_version) < required) return {};
  return X11Extensions::Events{extension->first_event};
}

void negotiateSharedMemory(xcb_connection_t* connection, X11Extensions& extensions) {
  if (find(connection, xcb_shm_id) == nullptr) return;
  const auto version =
      x11Reply(xcb_shm_query_version_reply, connection, xcb_shm_query_version(connection));
  if (!version) return;
  extensions.sharedMemory = true;
  extensions.sharedMemoryByDescriptor =
      Version(version->major_version, version->minor_version) >= Version(1, 2);
}

std::optional<X11Extensions::Events> negotiateFixes(xcb_connection_t* connection) {
  const auto* extension = find(connection, xcb_xfixes_id);
  if (extension == nullptr) return {};
  const auto version = x11Reply(xcb_xfixes_query_version_reply, connection,
                                xcb_xfixes_query_version(connection, 2, 0));
  return eventsFrom(extension, version, {2, 0});
}

std::optional<X11Extensions::Events> negotiateDamage(xcb_connection_t* connection) {
  const auto* extension = find(connection, xcb_damage_id);
  if (extension == nullptr) return {};
  const auto version = x11Reply(xcb_damage_query_version_reply, connection,
                                xcb_damage_query_version(connection, 1, 1));
  return eventsFrom(extension, version, {1, 1});
}

std::optional<X11Extensions::Events> negotiateRandr(xcb_connection_t* connection) {
  const auto* extension = find(connection, xcb_randr_id);
  if (extension == nullptr) return {};
  const auto version = x11Reply(xcb_randr_query_version_reply, connection,
                                xcb_randr_query_version(connection, 1, 5));
  return eventsFrom(extension, version, {1, 5});
}

std::optional<X11Extensions::Requests> negotiateInput(xcb_connection_t* connection) {
  const auto* extension = find(connection, xcb_input_id);
  if (extension == nullptr) return {};
  const auto version = x11Reply(xcb_input_xi_query_version_reply, connection,
                                xcb_input_xi_query_version(connection, 2, 1));
  if (!version || Version(version->major_version, version->minor_version) < Version(2, 1)) {
    return {};
  }
  return X11Extensions::Requests{extension->major_opcode};
}

}  // namespace

X11Extensions X11Extensions::negotiate(X11Connection& connection) {
  X11Extensions extensions;
  negotiateSharedMemory(connection.get(), extensions);
  extensions.fixes = negotiateFixes(connection.get());
  if (extensions.fixes) extensions.damage = negotiateDamage(connection.get());
  extensions.randr = negotiateRandr(connection.get());
  extensions.input = negotiateInput(connection.get());
  return extensions;
}

std::optional<X11Server> X11SpareServer::take() {
  const MutexLock lock(mutex);
  auto taken = std::exchange(server, {});
  if (!taken) return {};
  // libxcb sees the end of a connection when it reads from it.
  while (taken->connection.pollEvent() != nullptr) {
  }
  if (taken->connection.isBroken()) return {};
  return taken;
}

}  // namespace quorvin
