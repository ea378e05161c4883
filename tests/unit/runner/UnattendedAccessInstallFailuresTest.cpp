// Every operation of an install and a removal made to fail, alone and in pairs.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Runner/UnattendedAccess.h"
#include "tests/fakes/FakeMachine.h"

namespace quorvin {
namespace {

constexpr auto agentFile =
    "/Users/someone/Library/LaunchAgents/com.quorvin.support.unattended.plist";

// A machine with a launchd of its own, all of whose changes can be made to fail.
class AgentMachine {
 public:
  explicit AgentMachine(bool installedBefore) {
    machine.files.addDirectory("/Users/someone");
    machine.process.runsTask = [this](const auto& task) {
      return launchctl(task.arguments);
    };
    if (installedBefore) UnattendedAccess::install(machine.platform, "Old");
    machine.files.plan = machine.userDefaults.plan = machine.propertyList.plan = &plan;
    plan.operations.clear();
  }

  // What a person or another process would find.
  struct State {
    std::optional<std::string> file;
    bool enabled;  // absent counts as off
    std::optional<std::string> name;
    std::optional<std::string> registered;  // the content of the file when it was registered

    friend bool operator==(const State&, const State&) = default;
  };
  State state() {
    const auto& strings = machine.userDefaults.storedStrings;
    const auto name = strings.find(UnattendedAccess::deviceNameKey);
    return {machine.files.textAt(agentFile),
            machine.userDefaults.storedBooleans[UnattendedAccess::enabledKey],
            name == strings.end() ? std::nullopt : std::optional(name->second), registered};
  }

  // The number of the operation whose failure was reported; nothing when the work succeeded.
  std::optional<std::int64_t> reportedFailure(void (*work)(Platform&)) {
    try {
      work(machine.platform);
    } catch (const Error& error) {
      EXPECT_EQ(error.domain, "planned") << "a failure of a platform is passed on unchanged";
      return error.code;
    }
    return std::nullopt;
  }

  fakes::FakeMachine machine;
  fakes::FailurePlan plan;

 private:
  std::int32_t launchctl(const std::vector<std::string>& arguments) {
    plan.step(arguments.at(0));
    if (arguments.at(0) == "bootout") {
      registered.reset();
      return 0;
    }
    registered = machine.files.textAt(arguments.at(2));
    return registered ? 0 : 5;
  }

  std::optional<std::string> registered;
};

void installNew(Platform& platform) {
  UnattendedAccess::install(platform, "New");
}

// All choices of one or two operations out of those that a run without failures makes, with some
// more for what only a failure brings about.
std::vector<std::set<std::size_t>> choices(bool installedBefore, void (*work)(Platform&)) {
  AgentMachine undisturbed(installedBefore);
  EXPECT_EQ(undisturbed.reportedFailure(work), std::nullopt);
  const auto count = undisturbed.plan.operations.size() + 5;
  std::vector<std::set<std::size_t>> all;
  for (std::size_t first = 0; first < count; ++first) {
    for (std::size_t second = first; second < count; ++second) all.push_back({first, second});
  }
  return all;
}

std::string describe(const std::set<std::size_t>& failing, const fakes::FailurePlan& plan) {
  return "failing " + testing::PrintToString(failing) + " of " +
         testing::PrintToString(plan.operations);
}

// Whether one of the failures hit an operation of that kind while the old state was put back: after
// the one that was reported.
bool hitWhileRestoring(const AgentMachine& agent, std::int64_t reported,
                       const std::vector<std::string>& kinds) {
  const auto& operations = agent.plan.operations;
  return std::ranges::any_of(agent.plan.failing, [&](std::size_t number) {
    return number > static_cast<std::size_t>(reported) && number < operations.size() &&
           std::ranges::count(kinds, operations[number]) > 0;
  });
}

class UnattendedAccessInstallFailuresTest : public testing::TestWithParam<bool> {
 protected:
  [[nodiscard]] static bool installedBefore() { return GetParam(); }
};

TEST_P(UnattendedAccessInstallFailuresTest, AnInstallIsWholeOrLeavesTheStateBefore) {
  for (const auto& failing : choices(installedBefore(), installNew)) {
    AgentMachine agent(installedBefore());
    const auto before = agent.state();
    agent.plan.failing = failing;
    const auto reported = agent.reportedFailure(installNew);
    SCOPED_TRACE(describe(failing, agent.plan));
    const auto after = agent.state();
    if (!reported) {
      EXPECT_TRUE(after.enabled);
      EXPECT_EQ(after.name, "New");
      EXPECT_EQ(after.registered, after.file);
      EXPECT_NE(after.file, before.file);
      continue;
    }
    // A previous file that could not be read counts as none.
    const bool knewPreviousFile = std::ranges::count(agent.plan.failed, "contents") == 0;
    if (!hitWhileRestoring(agent, *reported, {"writeAtomically", "removeItem"})) {
      EXPECT_EQ(after.file, knewPreviousFile ? before.file : std::nullopt);
      if (!hitWhileRestoring(agent, *reported, {"bootstrap"})) {
        EXPECT_EQ(after.registered, knewPreviousFile ? before.registered : std::nullopt);
      }
    }
    if (!hitWhileRestoring(agent, *reported, {"synchronize"})) {
      EXPECT_EQ(after.enabled, before.enabled);
      EXPECT_EQ(after.name, before.name);
    }
  }
}

TEST_P(UnattendedAccessInstallFailuresTest, ARemovalReportsOnlyWhatItCouldNotUndo) {
  for (const auto& failing : choices(installedBefore(), &UnattendedAccess::remove)) {
    AgentMachine agent(installedBefore());
    const auto before = agent.state();
    agent.plan.failing = failing;
    const auto reported = agent.reportedFailure(&UnattendedAccess::remove);
    SCOPED_TRACE(describe(failing, agent.plan));
    const auto after = agent.state();
    const auto failed = [&agent](const char* operation) {
      return std::ranges::count(agent.plan.failed, operation) > 0;
    };
    EXPECT_EQ(reported.has_value(), failed("removeItem") || failed("synchronize"));
    EXPECT_EQ(after.file, failed("removeItem") ? before.file : std::nullopt);
    EXPECT_EQ(after.enabled, reported ? before.enabled : false);
    EXPECT_EQ(after.name, reported ? before.name : std::nullopt);
    EXPECT_EQ(after.registered, failed("bootout") ? before.registered : std::nullopt);
  }
}

TEST_P(UnattendedAccessInstallFailuresTest, TryingAgainMendsWhatAFailedAttemptLeft) {
  for (const auto& failing : choices(installedBefore(), installNew)) {
    AgentMachine agent(installedBefore());
    agent.plan.failing = failing;
    agent.reportedFailure(installNew);
    SCOPED_TRACE(describe(failing, agent.plan));
    agent.plan.failing.clear();
    EXPECT_EQ(agent.reportedFailure(installNew), std::nullopt);
    EXPECT_EQ(agent.state().name, "New");
    EXPECT_EQ(agent.state().registered, agent.state().file);
    EXPECT_EQ(agent.reportedFailure(&UnattendedAccess::remove), std::nullopt);
    EXPECT_EQ(agent.state(), AgentMachine(false).state());
  }
}

INSTANTIATE_TEST_SUITE_P(Before, UnattendedAccessInstallFailuresTest, testing::Bool(),
                         [](const auto& before) {
                           return before.param ? "Installed" : "NotInstalled";
                         });

}  // namespace
}  // namespace quorvin
