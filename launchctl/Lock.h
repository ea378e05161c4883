#pragma once

#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>
#include <filesystem>

#include "launchctl/FileDescriptor.h"

namespace quorvin::launchctl {

// Held by at most one of these programs of a user at a time; waits for its turn. The folder is only
// what the lock is taken on. Where it cannot be locked, as on some network file systems, there is
// no lock: two at once are rare, and every single step leaves whole files.
class Lock {
 public:
  explicit Lock(const std::filesystem::path& folder)
      : locked(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    while (locked.isOpen() && ::flock(locked.get(), LOCK_EX) != 0 && errno == EINTR) {
    }
  }

 private:
  FileDescriptor locked;
};

}  // namespace quorvin::launchctl
