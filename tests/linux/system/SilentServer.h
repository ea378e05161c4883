#pragma once

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <stdexcept>
#include <string>

#include "tests/TemporaryFolder.h"

namespace quorvin {

// A local socket that takes connections and never answers on them: a server that hangs.
class SilentServer {
 public:
  // At a path of its own, or at this one.
  explicit SilentServer(const std::string& givenPath = {})
      : socketPath(givenPath.empty() ? folder.path("socket").string() : givenPath),
        descriptor(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, socketPath.c_str(), sizeof address.sun_path - 1);
    if (bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        listen(descriptor, 8) != 0) {
      throw std::runtime_error("no local socket");
    }
  }
  SilentServer(const SilentServer&) = delete;
  SilentServer& operator=(const SilentServer&) = delete;
  ~SilentServer() {
    close(descriptor);
    unlink(socketPath.c_str());
  }

  [[nodiscard]] const std::string& path() const { return socketPath; }

 private:
  TemporaryFolder folder;
  std::string socketPath;
  int descriptor;
};

}  // namespace quorvin
