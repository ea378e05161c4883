#include <gtest/gtest.h>

#include <set>
#include <string>

#include "tests/simulation/Seeds.h"
#include "tests/simulation/SessionWorld.h"

namespace quorvin::simulation {
namespace {

constexpr int stepsPerRun = 150;

Outcome runSession(std::uint64_t seed) {
  return SessionWorld(seed).run(stepsPerRun);
}

TEST(SessionSimulation, KeepsItsPromisesInAnyOrderOfEvents) {
  runSeeds(runSession);
}

TEST(SessionSimulation, ReplaysTheSameRunFromTheSameSeed) {
  for (const std::uint64_t seed : {1U, 77U, 4711U}) {
    const auto first = runSession(seed);
    EXPECT_GT(first.trace.size(), static_cast<std::size_t>(stepsPerRun));
    EXPECT_EQ(first.trace, runSession(seed).trace);
  }
  EXPECT_NE(runSession(1).trace, runSession(2).trace);
}

// A simulation that never gets anywhere keeps every promise; so look where the runs went.
TEST(SessionSimulation, ReachesEveryEndingAndEveryReply) {
  std::set<std::string> seen;
  for (std::uint64_t seed = 1; seed <= 500; ++seed) {
    for (const auto& line : runSession(seed).trace) {
      seen.insert(line.substr(line.find("  ") + 2)
                      .substr(0, line.find("frame ") == std::string::npos ? std::string::npos : 5));
    }
  }
  for (const auto* line :
       {"frame", "error capture_stopped", "startCapture -> success",
        "startCapture -> capture_cancelled", "startCapture -> capture_failed",
        "startCapture -> accessibility_required", "startCapture -> consent_required",
        "configureStream -> success", "configureStream -> bad_stream_settings",
        "configureStream -> stream_settings_failed", "capabilities -> success",
        "injectInput -> success", "injectInput -> bad_input",
        "injectInput -> input_not_authorized"}) {
    EXPECT_TRUE(seen.contains(line)) << line;
  }
}

}  // namespace
}  // namespace quorvin::simulation
