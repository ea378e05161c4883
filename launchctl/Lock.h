#pragma once

#include <fcntl.h>
#include <glib.h>
#include <sys/file.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <thread>

#include "launchctl/LaunchctlError.h"
#include "platform/unix/FileDescriptor.h"

namespace quorvin::launchctl {

// Held by at most one of these programs of a user at a time. Waits up to five seconds for its turn,
// then throws LaunchctlError. The folder is only what the lock is taken on; it is made if need be,
// and private, so that no other user can take it. Where it cannot be locked, as on some network
// file systems, there is no lock: two at once are rare, and every single step leaves whole files.
class Lock {
 public:
  explicit Lock(const std::filesystem::path& folder) : locked(openFolder(folder)) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (locked.isOpen() && ::flock(locked.get(), LOCK_EX | LOCK_NB) != 0) {
      if (errno != EWOULDBLOCK && errno != EINTR) return;
      if (std::chrono::steady_clock::now() > deadline) {
        throw LaunchctlError("another process holds the lock on " + folder.string() +
                             "; wait until it has ended, or end it, then try again");
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
  }

 private:
  static int openFolder(const std::filesystem::path& folder) {
    constexpr int ownerOnly = 0700;
    g_mkdir_with_parents(folder.c_str(), ownerOnly);
    return ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  }

  FileDescriptor locked;
};

}  // namespace quorvin::launchctl
