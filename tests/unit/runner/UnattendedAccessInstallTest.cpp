#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "Runner/UnattendedAccess.h"
#include "tests/fakes/FakeMachine.h"

namespace quorvin {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

constexpr auto agentFile =
    "/Users/someone/Library/LaunchAgents/com.quorvin.support.unattended.plist";

class UnattendedAccessInstallTest : public testing::Test {
 protected:
  using Task = fakes::FakeProcess::Task;

  UnattendedAccessInstallTest() { machine.files.addDirectory("/Users/someone"); }

  void install(const std::optional<std::string>& name = "Workshop") {
    UnattendedAccess::install(machine.platform, name);
  }
  void remove() { UnattendedAccess::remove(machine.platform); }
  // The message with which the work fails; empty when it does not.
  std::string failure(const std::function<void()>& work, const std::string& domain) {
    try {
      work();
    } catch (const Error& error) {
      EXPECT_EQ(error.domain, domain);
      EXPECT_EQ(error.code, 1);
      return error.localizedDescription;
    }
    return {};
  }
  std::string installFailure() {
    return failure([this] { install(); }, "com.quorvin.support.unattended");
  }
  void expectNothingChanged() {
    EXPECT_THAT(machine.files.changes, IsEmpty());
    EXPECT_THAT(machine.userDefaults.changes, IsEmpty());
    EXPECT_THAT(machine.process.tasks, IsEmpty());
  }
  static Task launchctl(const std::string& command) {
    return {"/bin/launchctl", {command, "gui/501", agentFile}};
  }
  void failBootstrap() {
    machine.process.runsTask = [](const Task& task) {
      return task.arguments[0] == "bootstrap" ? 5 : 0;
    };
  }

  fakes::FakeMachine machine;
};

TEST_F(UnattendedAccessInstallTest, WritesTheAgentsFileAndRegistersIt) {
  install();
  EXPECT_EQ(machine.files.textAt(agentFile), "list1");
  ASSERT_EQ(machine.propertyList.written.size(), 1U);
  EXPECT_EQ(machine.propertyList.written[0],
            Value(Map{{"Label", "com.quorvin.support.unattended"},
                      {"ProgramArguments",
                       List{"/Applications/Quorvin Support.app/Contents/Linux/quorvin-support",
                            "--unattended"}},
                      {"RunAtLoad", true},
                      {"KeepAlive", true},
                      {"ProcessType", "Interactive"},
                      {"LimitLoadToSessionType", "Aqua"}}));
  EXPECT_THAT(machine.process.tasks, ElementsAre(launchctl("bootout"), launchctl("bootstrap")));
}

TEST_F(UnattendedAccessInstallTest, StoresTheSettingsBeforeTheAgentCanReadThem) {
  machine.process.runsTask = [this](const Task& task) {
    const bool isStored = machine.userDefaults.storedBooleans["unattendedAccessEnabled"];
    EXPECT_EQ(isStored, task.arguments[0] == "bootstrap");
    return 0;
  };
  install(" Work \n shop ");
  EXPECT_EQ(machine.userDefaults.storedStrings["unattendedAccessDeviceName"], "Work shop");
}

TEST_F(UnattendedAccessInstallTest, NeedsAnInstalledCopy) {
  constexpr auto message =
      "Move Quorvin Support to Applications and run the setup command from that installed copy.";
  for (const auto* bundle : {"/Volumes/Quorvin/Quorvin Support.app",
                             "/Applications/Quorvin Support.APP", "/tmp/Quorvin Support.app"}) {
    machine.files.bundle = bundle;
    EXPECT_EQ(installFailure(), message);
  }
  machine.files.bundle = "/Applications/Support/Quorvin Support.app";
  machine.files.executable.reset();
  EXPECT_EQ(installFailure(), message);
  expectNothingChanged();
}

TEST_F(UnattendedAccessInstallTest, TakesACopyInASubfolderOfEitherApplicationsFolder) {
  for (const auto* bundle : {"/Applications/Support/Quorvin Support.app",
                             "/Users/someone/Applications/Quorvin Support.app"}) {
    machine.files.bundle = bundle;
    EXPECT_NO_THROW(install());
  }
}

TEST_F(UnattendedAccessInstallTest, LooksForTheCopyInOneHomeFolderAndKeepsTheAgentInTheOther) {
  machine.files.home = "/Users/told";
  machine.files.currentUsersHome = "/Users/someone";
  machine.files.bundle = "/Users/someone/Applications/Quorvin Support.app";
  EXPECT_NE(installFailure(), "");
  expectNothingChanged();
  machine.files.bundle = "/Users/told/Applications/Quorvin Support.app";
  EXPECT_EQ(installFailure(), "");
  EXPECT_TRUE(machine.files.textAt(agentFile));
  EXPECT_FALSE(machine.files.hasItem("/Users/told"));
  EXPECT_THAT(machine.process.tasks, ElementsAre(launchctl("bootout"), launchctl("bootstrap")));
  remove();
  EXPECT_FALSE(machine.files.hasItem(agentFile));
}

// Each precondition with each that comes after it, both not met: the earlier one is reported.
TEST_F(UnattendedAccessInstallTest, ReportsTheFirstOfTwoPreconditionsThatAreNotMet) {
  struct Precondition {
    std::string message;
    std::function<void(fakes::FakeMachine&)> breakIt;
  };
  const std::string notInstalled =
      "Move Quorvin Support to Applications and run the setup command from that installed copy.";
  const std::string notPermitted =
      "Open Quorvin Support once and allow Screen Recording and Accessibility before enabling "
      "unattended access.";
  const std::vector<Precondition> preconditions = {
      {notInstalled,
       [](auto& broken) {
         broken.files.bundle = "/Volumes/Quorvin Support.app";
       }},
      {notInstalled,
       [](auto& broken) {
         broken.files.executable.reset();
       }},
      {notPermitted,
       [](auto& broken) {
         broken.permissions.screenRecording = false;
       }},
      {notPermitted,
       [](auto& broken) {
         broken.permissions.accessibility = false;
       }},
      {"A device name is required. Use --name \"My Mac\".",
       [](auto& broken) {
         broken.permissions.name.reset();
       }},
      {"No folder.",
       [](auto& broken) {
         broken.files.failures.emplace("createDirectory", Error("system", 1, "No folder."));
       }},
      {"No list.",
       [](auto& broken) {
         broken.propertyList.error = {"system", 1, "No list."};
       }},
  };
  for (std::size_t first = 0; first < preconditions.size(); ++first) {
    for (std::size_t second = first + 1; second < preconditions.size(); ++second) {
      fakes::FakeMachine broken;
      preconditions[first].breakIt(broken);
      preconditions[second].breakIt(broken);
      try {
        UnattendedAccess::install(broken.platform, std::nullopt);
        ADD_FAILURE() << first << " and " << second << " are not needed";
      } catch (const Error& error) {
        EXPECT_EQ(error.localizedDescription, preconditions[first].message)
            << first << " and " << second;
      }
      EXPECT_THAT(broken.userDefaults.changes, IsEmpty());
      EXPECT_THAT(broken.process.tasks, IsEmpty());
      EXPECT_EQ(broken.files.changes.size(), first < 5 ? 0U : 1U) << "the folder, if anything";
    }
  }
}

TEST_F(UnattendedAccessInstallTest, NeedsBothPermissionsAndAsksForNeither) {
  constexpr auto message =
      "Open Quorvin Support once and allow Screen Recording and Accessibility before enabling "
      "unattended access.";
  machine.permissions.screenRecording = false;
  EXPECT_EQ(installFailure(), message);
  EXPECT_THAT(machine.permissions.calls, ElementsAre("preflightScreenCaptureAccess"));
  machine.permissions.screenRecording = true;
  machine.permissions.accessibility = false;
  machine.permissions.calls.clear();
  EXPECT_EQ(installFailure(), message);
  EXPECT_THAT(machine.permissions.calls,
              ElementsAre("preflightScreenCaptureAccess", "isProcessTrusted"));
  expectNothingChanged();
}

TEST_F(UnattendedAccessInstallTest, NeedsAName) {
  machine.permissions.name = " \n ";
  EXPECT_EQ(failure([this] { install("\t"); }, "com.quorvin.support.unattended"),
            "A device name is required. Use --name \"My Mac\".");
  machine.permissions.name.reset();
  EXPECT_EQ(failure([this] { install(std::nullopt); }, "com.quorvin.support.unattended"),
            "A device name is required. Use --name \"My Mac\".");
  expectNothingChanged();
}

TEST_F(UnattendedAccessInstallTest, FetchesTheComputersNameInEveryCase) {
  for (const auto* requested : {"Workshop", " "}) {
    machine.permissions.calls.clear();
    install(requested);
    EXPECT_THAT(machine.permissions.calls, ElementsAre("preflightScreenCaptureAccess",
                                                       "isProcessTrusted", "copyComputerName"));
  }
}

TEST_F(UnattendedAccessInstallTest, TakesTheComputersNameWhenNoneIsAskedFor) {
  machine.permissions.name = "  The\u2028shop ";
  install("  ");
  EXPECT_EQ(machine.userDefaults.strings["unattendedAccessDeviceName"], "The shop");
}

TEST_F(UnattendedAccessInstallTest, InstallingAgainReplacesFileAndNameAndBootsTheOldAgentOutFirst) {
  install("Old");
  machine.process.tasks.clear();
  machine.process.runsTask = [this](const Task& task) {
    EXPECT_EQ(machine.files.textAt(agentFile), task.arguments[0] == "bootout" ? "list1" : "list2");
    return 0;
  };
  install("New");
  EXPECT_EQ(machine.files.textAt(agentFile), "list2");
  EXPECT_EQ(machine.userDefaults.storedStrings["unattendedAccessDeviceName"], "New");
  EXPECT_THAT(machine.process.tasks, ElementsAre(launchctl("bootout"), launchctl("bootstrap")));
}

TEST_F(UnattendedAccessInstallTest, AFirstInstallThatCannotRegisterLeavesNothingButAnExplicitOff) {
  failBootstrap();
  EXPECT_EQ(installFailure(), "macOS could not register the login startup item.");
  EXPECT_FALSE(machine.files.hasItem(agentFile));
  EXPECT_THAT(machine.userDefaults.storedBooleans,
              ElementsAre(std::pair("unattendedAccessEnabled", false)));
  EXPECT_THAT(machine.userDefaults.storedStrings, IsEmpty());
  EXPECT_THAT(machine.process.tasks, ElementsAre(launchctl("bootout"), launchctl("bootstrap")));
}

TEST_F(UnattendedAccessInstallTest, ARepeatedInstallThatCannotRegisterBringsTheOldAgentBack) {
  install("Old");
  machine.process.tasks.clear();
  failBootstrap();
  EXPECT_EQ(installFailure(), "macOS could not register the login startup item.");
  EXPECT_EQ(machine.files.textAt(agentFile), "list1");
  EXPECT_TRUE(machine.userDefaults.storedBooleans["unattendedAccessEnabled"]);
  EXPECT_EQ(machine.userDefaults.storedStrings["unattendedAccessDeviceName"], "Old");
  EXPECT_THAT(machine.process.tasks,
              ElementsAre(launchctl("bootout"), launchctl("bootstrap"), launchctl("bootstrap")));
}

TEST_F(UnattendedAccessInstallTest, PassesOnThatLaunchctlCannotBeLaunched) {
  machine.process.runsTask = [](const Task&) -> std::int32_t {
    throw Error("system", 1, "The file does not exist.");
  };
  EXPECT_EQ(failure([this] { install(); }, "system"), "The file does not exist.");
  EXPECT_FALSE(machine.files.hasItem(agentFile));
}

TEST_F(UnattendedAccessInstallTest, ReturnsTheStatusThatNobodyRequired) {
  machine.process.runsTask = [](const Task&) {
    return 37;
  };
  EXPECT_EQ(UnattendedAccess::runLaunchctl(machine.platform, {"list"}, false), 37);
  EXPECT_THAT(machine.process.tasks, ElementsAre(Task{"/bin/launchctl", {"list"}}));
}

TEST_F(UnattendedAccessInstallTest, RemovesTheAgentItsFileAndTheSettings) {
  install();
  machine.process.tasks.clear();
  remove();
  EXPECT_FALSE(machine.files.hasItem(agentFile));
  EXPECT_THAT(machine.userDefaults.storedBooleans, IsEmpty());
  EXPECT_THAT(machine.userDefaults.storedStrings, IsEmpty());
  EXPECT_THAT(machine.process.tasks, ElementsAre(launchctl("bootout")));
}

TEST_F(UnattendedAccessInstallTest, RemovesNothingWhereNothingWasInstalledAndNeedsNoInstalledCopy) {
  machine.files.bundle = "/Volumes/Quorvin Support.app";
  machine.permissions.accessibility = false;
  machine.process.runsTask = [](const Task&) {
    return 3;
  };
  EXPECT_NO_THROW(remove());
  EXPECT_THAT(machine.files.changes, IsEmpty());
}

TEST_F(UnattendedAccessInstallTest, KeepsTheSettingsWhenTheFileCannotBeDeleted) {
  install();
  machine.files.failures.emplace("removeItem", Error("system", 1, "It is locked."));
  EXPECT_EQ(failure([this] { remove(); }, "system"), "It is locked.");
  EXPECT_TRUE(machine.userDefaults.storedBooleans["unattendedAccessEnabled"]);
  EXPECT_EQ(machine.userDefaults.storedStrings["unattendedAccessDeviceName"], "Workshop");
  EXPECT_EQ(machine.process.tasks.back(), launchctl("bootout"));
}

}  // namespace
}  // namespace quorvin
