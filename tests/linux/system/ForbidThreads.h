#pragma once

#include <sys/resource.h>
#include <unistd.h>

#include <cstdlib>

namespace quorvin {

// For a process that is to end soon: a user who may have no further process has no further thread
// either. That does not bind root.
inline void forbidThreads() {
  constexpr rlimit none{0, 0};
  constexpr uid_t nobody = 65534;
  const bool isBound =
      setrlimit(RLIMIT_NPROC, &none) == 0 && (getuid() != 0 || setuid(nobody) == 0);
  if (!isBound) std::_Exit(2);
}

}  // namespace quorvin
