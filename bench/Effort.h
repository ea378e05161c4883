#pragma once

#include <cstdlib>

namespace quorvin {

// How much of something a benchmark does: the first to prove that it runs, the second where
// QUORVIN_MEASURE is set, for numbers worth reading.
[[nodiscard]] inline int effort(int proof, int measurement) {
  return std::getenv("QUORVIN_MEASURE") == nullptr ? proof : measurement;
}

}  // namespace quorvin
