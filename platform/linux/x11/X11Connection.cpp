#include "platform/linux/x11/X11Connection.h"

#include <sys/socket.h>

#include <cstdlib>
#include <string>

#include "platform/Mutex.h"
#include "platform/linux/x11/X11Error.h"

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

}  // namespace quorvin
