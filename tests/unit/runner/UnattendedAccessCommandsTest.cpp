#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "Runner/UnattendedAccess.h"
#include "tests/fakes/FakeMachine.h"

namespace quorvin {
namespace {

using fakes::FakeMachine;

constexpr auto usage =
    "Quorvin unattended commands:\n"
    "  --install-unattended [--name \"My device\"]\n"
    "  --status-unattended\n"
    "  --remove-unattended\n";

class UnattendedAccessCommandsTest : public testing::Test {
 protected:
  UnattendedAccessCommandsTest() { machine.files.addDirectory("/Users/someone"); }

  std::optional<std::int32_t> run(const std::vector<std::string>& arguments) {
    auto& process = machine.process;
    process.argumentList.resize(1);
    process.argumentList.insert(process.argumentList.end(), arguments.begin(), arguments.end());
    process.standardOutput.clear();
    process.standardError.clear();
    process.standardOutputWrites.clear();
    process.standardErrorWrites.clear();
    return UnattendedAccess::handleCommandIfPresent(machine.platform);
  }
  void expectPrinted(const std::string& text) {
    EXPECT_EQ(machine.process.standardOutput, text);
    EXPECT_EQ(machine.process.standardOutputWrites.size(), 1U);
    EXPECT_EQ(machine.process.standardErrorWrites.size(), 0U);
  }
  void expectFailure(const std::string& description) {
    EXPECT_EQ(machine.process.standardError,
              "Quorvin unattended access error: " + description + "\n");
    EXPECT_EQ(machine.process.standardErrorWrites.size(), 1U);
    EXPECT_EQ(machine.process.standardOutputWrites.size(), 0U);
  }
  // The name that an install with these arguments stores.
  std::string installedName(std::vector<std::string> arguments) {
    arguments.emplace_back("--install-unattended");
    EXPECT_EQ(run(arguments), 0);
    return UnattendedAccess::deviceName(machine.platform);
  }

  FakeMachine machine;
};

TEST_F(UnattendedAccessCommandsTest, DoesNothingWithoutACommand) {
  for (const auto& arguments : std::vector<std::vector<std::string>>{{},
                                                                     {"--unattended"},
                                                                     {"--name", "Workshop"},
                                                                     {"--Install-unattended"},
                                                                     {"--install-unattended=1"},
                                                                     {"--help"},
                                                                     {"install-unattended"}}) {
    EXPECT_EQ(run(arguments), std::nullopt);
    EXPECT_FALSE(UnattendedAccess::managementCommandRequested(machine.platform));
    EXPECT_EQ(machine.process.standardOutput + machine.process.standardError, "");
  }
}

TEST_F(UnattendedAccessCommandsTest, KnowsEachCommandWhereverItStands) {
  for (const auto* flag : {"--install-unattended", "--remove-unattended", "--status-unattended",
                           "--help-unattended"}) {
    machine.process.argumentList = {"host", "other", flag, "more"};
    EXPECT_TRUE(UnattendedAccess::managementCommandRequested(machine.platform)) << flag;
  }
  EXPECT_EQ(machine.process.standardOutputWrites.size(), 0U);
}

TEST_F(UnattendedAccessCommandsTest, PrintsTheUsage) {
  EXPECT_EQ(run({"--help-unattended"}), 0);
  expectPrinted(usage);
  EXPECT_EQ(machine.process.standardOutput.size(), 117U);
}

TEST_F(UnattendedAccessCommandsTest, PrintsTheStatus) {
  EXPECT_EQ(run({"--status-unattended"}), 0);
  expectPrinted("Quorvin unattended access is disabled.\n");
  machine.userDefaults.setBool(true, UnattendedAccess::enabledKey);
  machine.userDefaults.setString(" Front  desk ", UnattendedAccess::deviceNameKey);
  EXPECT_EQ(run({"--status-unattended"}), 0);
  expectPrinted("Quorvin unattended access is enabled for \"Front desk\".\n");
}

TEST_F(UnattendedAccessCommandsTest, IsDisabledUnderANameThatNormalizesToNothing) {
  machine.userDefaults.setBool(true, UnattendedAccess::enabledKey);
  machine.userDefaults.setString(" \t", UnattendedAccess::deviceNameKey);
  EXPECT_EQ(run({"--status-unattended"}), 0);
  expectPrinted("Quorvin unattended access is disabled.\n");
}

TEST_F(UnattendedAccessCommandsTest, InstallsAndShowsTheStoredName) {
  EXPECT_EQ(run({"--install-unattended", "--name", "  Front \t desk "}), 0);
  expectPrinted(
      "Quorvin unattended access is enabled for \"Front desk\" and will start at login.\n");
}

TEST_F(UnattendedAccessCommandsTest, Removes) {
  EXPECT_EQ(run({"--remove-unattended"}), 0);
  expectPrinted("Quorvin unattended access is disabled for this Mac account.\n");
  EXPECT_EQ(machine.process.standardOutput.size(), 60U);
}

TEST_F(UnattendedAccessCommandsTest, ReportsAFailedInstallAndAFailedRemove) {
  machine.files.bundle = "/Volumes/Quorvin Support.app";
  EXPECT_EQ(run({"--install-unattended"}), 1);
  expectFailure(
      "Move Quorvin Support to Applications and run the setup command from that installed copy.");
  machine.files.addFile("/Users/someone/Library/LaunchAgents/com.quorvin.support.unattended.plist",
                        "");
  machine.files.failures.emplace("removeItem", Error("system", 13, "It cannot be removed."));
  EXPECT_EQ(run({"--remove-unattended"}), 1);
  expectFailure("It cannot be removed.");
}

TEST_F(UnattendedAccessCommandsTest, RunsOneCommandByRankNotByOrder) {
  EXPECT_EQ(run({"--remove-unattended", "--install-unattended"}), 0);
  EXPECT_THAT(machine.process.standardOutput, testing::HasSubstr("will start at login"));
  EXPECT_EQ(run({"--status-unattended", "--remove-unattended"}), 0);
  EXPECT_THAT(machine.process.standardOutput, testing::HasSubstr("for this Mac account"));
  EXPECT_EQ(run({"--help-unattended", "--status-unattended"}), 0);
  expectPrinted("Quorvin unattended access is disabled.\n");
}

TEST_F(UnattendedAccessCommandsTest, FindsTheNameInEitherForm) {
  EXPECT_EQ(installedName({"--name", "Workshop"}), "Workshop");
  EXPECT_EQ(installedName({"--name=Back room"}), "Back room");
  EXPECT_EQ(installedName({"--name==x"}), "=x");
  EXPECT_EQ(installedName({"--name", "--status-unattended"}), "--status-unattended");
  EXPECT_EQ(installedName({"--name", "--name=B"}), "--name=B");
}

TEST_F(UnattendedAccessCommandsTest, TakesTheFirstNameThatHasAValue) {
  EXPECT_EQ(installedName({"--name=A", "--name", "B"}), "A");
  EXPECT_EQ(installedName({"--name", "A", "--name=B"}), "A");
}

TEST_F(UnattendedAccessCommandsTest, FallsBackToTheComputersName) {
  EXPECT_EQ(installedName({}), "Front desk");
  EXPECT_EQ(installedName({"--name="}), "Front desk");
  EXPECT_EQ(installedName({"--names", "x", "--Name=y"}), "Front desk");
  EXPECT_EQ(run({"--install-unattended", "--name"}), 0) << "a last argument without a value";
  EXPECT_EQ(UnattendedAccess::deviceName(machine.platform), "Front desk");
}

}  // namespace
}  // namespace quorvin
