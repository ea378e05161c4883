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
  SilentServer() : descriptor(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path().c_str(), sizeof address.sun_path - 1);
    if (bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        listen(descriptor, 8) != 0) {
      throw std::runtime_error("no local socket");
    }
  }
  SilentServer(const SilentServer&) = delete;
  SilentServer& operator=(const SilentServer&) = delete;
  ~SilentServer() { close(descriptor); }

  [[nodiscard]] std::string path() const { return folder.path("socket"); }

 private:
  TemporaryFolder folder;
  int descriptor;
};

}  // namespace quorvin
