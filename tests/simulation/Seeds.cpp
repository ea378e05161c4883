#include "tests/simulation/Seeds.h"

#include <gtest/gtest.h>

#include <iostream>
#include <string>

#include "tests/EnvironmentNumber.h"

namespace quorvin::simulation {

namespace {

std::string howToReplay(std::uint64_t seed) {
  const auto* test = testing::UnitTest::GetInstance()->current_test_info();
  return "Replay with: QUORVIN_SEED=" + std::to_string(seed) +
         " simulation_tests --gtest_filter=" + test->test_suite_name() + "." + test->name();
}

void printTrace(const Outcome& outcome) {
  for (const auto& step : outcome.trace) std::cout << step << '\n';
}

}  // namespace

void runSeeds(const Run& run) {
  if (const auto seed = numberFromEnvironment("QUORVIN_SEED")) {
    const auto outcome = run(*seed);
    printTrace(outcome);
    EXPECT_EQ(outcome.failure, "");
    return;
  }
  const auto first = numberFromEnvironment("QUORVIN_FIRST_SEED").value_or(1);
  const auto count = numberFromEnvironment("QUORVIN_SEEDS").value_or(10'000);
  for (auto seed = first; seed < first + count; ++seed) {
    const auto outcome = run(seed);
    ASSERT_EQ(outcome.failure, "") << "Seed " << seed << " broke a promise. " << howToReplay(seed);
  }
}

}  // namespace quorvin::simulation
