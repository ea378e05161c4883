#pragma once

#include <cstdint>
#include <limits>

#include "platform/Fatal.h"

namespace quorvin {

// The number of the next session. Numbers are never reused, so running out of them ends the
// process.
[[nodiscard]] inline std::int64_t nextGeneration(std::int64_t generation) {
  if (generation == std::numeric_limits<std::int64_t>::max()) {
    fatalError("The session counter overflowed.");
  }
  return generation + 1;
}

}  // namespace quorvin
