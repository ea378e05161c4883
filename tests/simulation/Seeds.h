#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace quorvin::simulation {

// What one seeded run found: the first broken promise, or nothing, and every step in order.
struct Outcome {
  std::string failure;
  std::vector<std::string> trace;
};

using Run = std::function<Outcome(std::uint64_t seed)>;

// Runs the simulation once for each seed and fails the running test at the first that breaks a
// promise, with the words to replay it. QUORVIN_SEEDS sets how many seeds (10,000 otherwise) and
// QUORVIN_FIRST_SEED where they begin; QUORVIN_SEED runs a single one and prints its steps.
void runSeeds(const Run& run);

}  // namespace quorvin::simulation
