#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#if __has_feature(address_sanitizer)
#include <sanitizer/lsan_interface.h>
#endif

#import <CoreGraphics/CoreGraphicsControl.h>
#import <Foundation/FoundationControl.h>
#include <unistd.h>

#include "tests/TemporaryFolder.h"
#include "tests/macos/host/HostFixture.h"

// main() of the program.
int quorvinMain(int argc, char** argv);

namespace quorvin {
namespace {

using testing::ExitedWithCode;

// Each runs the program's main() in a process of its own, which main() ends.
class ProcessDeathTest : public HostFixture {
 protected:
  void SetUp() override {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    HostFixture::SetUp();
  }

  [[noreturn]] static void runMain() {
#if __has_feature(address_sanitizer)
    // main() may end the process from within the making of an object, which is then no leak.
    __lsan_disable();
#endif
    // What a person would read in the terminal.
    std::atexit([] {
      std::fputs(standin::writtenToStandardOutput().c_str(), stderr);
      std::fputs(standin::writtenToStandardError().c_str(), stderr);
    });
    std::string name = "quorvin-support";
    std::array<char*, 2> arguments{name.data(), nullptr};
    std::_Exit(quorvinMain(1, arguments.data()) + 100);  // main() ends the process itself
  }
};

TEST_F(ProcessDeathTest, EndsWithStatusZeroWhenItsWindowWasClosed) {
  const auto life = [] {
    standin::setApplicationScript([] {
      standin::DartSide ui(
          static_cast<::FlutterViewController*>(window().contentViewController).engine);
      const auto reply = ui.call("com.quorvin.support/host", "startCapture", consent());
      standin::settle();
      EXPECT_TRUE(reply->hasArrived);
      EXPECT_EQ(reply->answer, nothing());
      [window() close];
      EXPECT_TRUE(standin::applicationHasTerminated());
      endProcessIfFailed();
    });
    runMain();
  };
  EXPECT_EXIT(life(), ExitedWithCode(0), "^$");
}

TEST_F(ProcessDeathTest, RefusesAnUnattendedRunThatIsNotEnabled) {
  const auto life = [] {
    setArguments({"/quorvin-support", "--unattended"});
    standin::setApplicationScript([] { std::_Exit(50); });
    runMain();
  };
  EXPECT_EXIT(life(), ExitedWithCode(2),
              "^Quorvin unattended access is not enabled. Run --install-unattended first.\n$");
}

TEST_F(ProcessDeathTest, RunsUnattendedWhereThatIsEnabled) {
  const auto life = [] {
    authorizeUnattended("Front desk");
    standin::setApplicationScript([] {
      EXPECT_FALSE(window().isVisible);
      endProcessIfFailed();
    });
    runMain();
  };
  EXPECT_EXIT(life(), ExitedWithCode(0), "^$");
}

// A home folder of the test's own, with the program installed in it.
class InstalledCopy {
 public:
  explicit InstalledCopy(const std::string& user = "someone") : root(home.path(user)) {
    std::filesystem::create_directories(root);
    const auto bundle = root + "/Applications/Quorvin Support.app";
    executable = bundle + "/Contents/MacOS/Quorvin Support";
    standin::setHomeFolder(root);
    standin::setMainBundle(bundle, executable);
  }

  [[nodiscard]] std::string agentFile() const {
    return root + "/Library/LaunchAgents/com.quorvin.support.unattended.plist";
  }

  // The process that runs main() has a folder of its own, which nobody else sees.
  void showAgentAtExit() const {
    static std::string file;
    file = agentFile();
    std::atexit([] {
      std::string text = "no agent";
      if (std::ifstream agent(file); agent) std::getline(agent, text);
      std::fputs((text + "\n").c_str(), stderr);
    });
  }

  TemporaryFolder home;
  std::string root;
  std::string executable;
};

// What launchctl is asked for comes out with the rest of what a person reads.
void showTasks(int status) {
  standin::setTaskRunner([status](const standin::Task& task) {
    std::fprintf(stderr, "%s %s\n", task.executablePath.c_str(), task.arguments.at(0).c_str());
    return standin::TaskOutcome{.status = task.arguments.at(0) == "bootstrap" ? status : 3};
  });
}

TEST_F(ProcessDeathTest, InstallsUnattendedAccess) {
  const InstalledCopy copy;
  const auto life = [] {
    showTasks(0);
    setArguments({"/quorvin-support", "--install-unattended", "--name", " Front  desk"});
    runMain();
  };
  EXPECT_EXIT(
      life(), ExitedWithCode(0),
      "^/bin/launchctl bootout\n/bin/launchctl bootstrap\n"
      "Quorvin unattended access is enabled for \"Front desk\" and will start at login.\n$");
}

TEST_F(ProcessDeathTest, LeavesNoAgentThatCouldNotBeRegistered) {
  const InstalledCopy copy;
  const auto life = [&copy] {
    showTasks(5);
    copy.showAgentAtExit();
    setArguments({"/quorvin-support", "--install-unattended"});
    runMain();
  };
  EXPECT_EXIT(life(), ExitedWithCode(1),
              "Quorvin unattended access error: "
              "macOS could not register the login startup item.\nno agent\n$");
}

TEST_F(ProcessDeathTest, InstallsForAUserWithAnUmlaut) {
  const InstalledCopy copy("J\u00FCrgen");
  const auto life = [] {
    setArguments({"/quorvin-support", "--install-unattended", "--name", "Front desk"});
    runMain();
  };
  EXPECT_EXIT(life(), ExitedWithCode(0), "^Quorvin unattended access is enabled");
}

// For some seconds after a running agent was taken out, the system takes none in.
TEST_F(ProcessDeathTest, SaysThatARunningAgentCouldNotBeReplacedYet) {
  const InstalledCopy copy;
  const auto life = [&copy] {
    standin::setTaskRunner([](const standin::Task& task) {
      std::fprintf(stderr, "%s\n", task.arguments.at(0).c_str());
      return standin::TaskOutcome{.status = task.arguments.at(0) == "bootstrap" ? 5 : 0};
    });
    const std::filesystem::path agent = copy.agentFile();
    std::filesystem::create_directories(agent.parent_path());
    std::ofstream(agent) << "the agent so far";
    copy.showAgentAtExit();
    setArguments({"/quorvin-support", "--install-unattended"});
    runMain();
  };
  EXPECT_EXIT(life(), ExitedWithCode(1),
              "^bootout\nbootstrap\nbootstrap\nQuorvin unattended access error: "
              "macOS could not register the login startup item.\nthe agent so far\n$");
}

// The answers are those for whoever is responsible for the process: in a terminal, the terminal.
TEST_F(ProcessDeathTest, GoesByThePermissionsOfWhoeverIsResponsible) {
  const InstalledCopy copy;
  const auto life = [] {
    standin::setScreenCapturePreflight(false);
    setArguments({"/quorvin-support", "--install-unattended"});
    runMain();
  };
  EXPECT_EXIT(life(), ExitedWithCode(1),
              "^Quorvin unattended access error: Open Quorvin Support "
              "once and allow Screen Recording and Accessibility");
}

TEST_F(ProcessDeathTest, InstallsOnlyFromAnInstalledCopy) {
  const auto life = [] {
    standin::setMainBundle("/Volumes/Quorvin Support.app", "/Volumes/Quorvin Support.app/x");
    setArguments({"/quorvin-support", "--install-unattended"});
    runMain();
  };
  EXPECT_EXIT(life(), ExitedWithCode(1), "Move Quorvin Support to Applications");
}

}  // namespace
}  // namespace quorvin
