#include "tests/simulation/Seeds.h"

#include <gtest/gtest.h>

#include <charconv>
#include <cstdlib>
#include <iostream>
#include <optional>
#include <string_view>

namespace quorvin::simulation {

namespace {

std::optional<std::uint64_t> numberFromEnvironment(const char* name) {
  const char* text = std::getenv(name);
  if (text == nullptr) return std::nullopt;
  const std::string_view digits(text);
  std::uint64_t number = 0;
  const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
  if (error != std::errc() || end != digits.data() + digits.size()) {
    ADD_FAILURE() << name << " must be a whole number, not \"" << digits << "\".";
    return std::nullopt;
  }
  return number;
}

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
