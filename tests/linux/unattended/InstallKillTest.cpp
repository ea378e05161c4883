// An install of the login agent that is killed before each system call that changes something, with
// the real file system, settings and tasks, and a launchctl of the test's own.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/syscall.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>
#include <set>
#include <sstream>
#include <string>

#include "Runner/UnattendedAccess.h"
#include "platform/linux/system/Files.h"
#include "platform/linux/system/Process.h"
#include "platform/linux/system/PropertyList.h"
#include "platform/linux/system/Text.h"
#include "platform/linux/system/UserDefaults.h"
#include "tests/ChildProgram.h"
#include "tests/TemporaryFolder.h"
#include "tests/fakes/FakeMachine.h"

namespace quorvin {
namespace {

namespace fs = std::filesystem;

bool changesSomething(unsigned long long systemCall) {
  static const std::set<unsigned long long> changing = {
      SYS_open,      SYS_openat, SYS_write,   SYS_fsync,  SYS_rename,   SYS_renameat,
      SYS_renameat2, SYS_mkdir,  SYS_mkdirat, SYS_unlink, SYS_unlinkat, SYS_fchmod,
      SYS_flock,     SYS_clone,  SYS_clone3,  SYS_vfork,  SYS_wait4};
  return changing.contains(systemCall);
}

// A process that does the work and is killed just before such a system call, by number from 0.
// Returns its exit status, or minus the signal that ended it.
int exitStatus(const std::function<int()>& work, std::optional<int> killedBefore) {
  const pid_t child = forkChild();
  if (child == 0) {
    if (killedBefore) {
      ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
      raise(SIGSTOP);
    }
    _exit(work());
  }
  int status = 0;
  waitpid(child, &status, 0);
  if (killedBefore) ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACESYSGOOD);
  bool isEntry = true;
  for (int count = 0; WIFSTOPPED(status);) {
    const bool isSystemCall = WSTOPSIG(status) == (SIGTRAP | 0x80);
    const int signal = isSystemCall || WSTOPSIG(status) == SIGSTOP ? 0 : WSTOPSIG(status);
    user_regs_struct registers{};
    ptrace(PTRACE_GETREGS, child, nullptr, &registers);
    if (isSystemCall && isEntry && changesSomething(registers.orig_rax) &&
        count++ == *killedBefore) {
      kill(child, SIGKILL);
    }
    if (isSystemCall) isEntry = !isEntry;
    ptrace(PTRACE_SYSCALL, child, nullptr, signal);
    waitpid(child, &status, 0);
  }
  // What it left running is this process' own by now.
  while (waitpid(-1, nullptr, 0) > 0) {
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

std::optional<std::string> contentOf(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) return {};
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

class InstallKillTest : public testing::TestWithParam<bool> {
 protected:
  InstallKillTest() {
    prctl(PR_SET_CHILD_SUBREAPER, 1);
    fs::create_directories(home());
    setenv("HOME", home().c_str(), 1);
    const auto script = folder.write("launchctl",
                                     "#!/bin/sh\n"
                                     "case \"$1\" in\n"
                                     "  bootstrap) exec cp \"$3\" '" +
                                         registered().string() +
                                         "' ;;\n"
                                         "  bootout) exec rm '" +
                                         registered().string() +
                                         "' ;;\n"
                                         "esac\n");
    fs::permissions(script, fs::perms::owner_all);
  }

  // Enables unattended access under that name, from a copy whose path has that name in it.
  int install(const std::string& name, std::optional<int> killedBefore = {}) const {
    return exitStatus(
        [&] {
          return attempt(name,
                         [&](Platform& platform) { UnattendedAccess::install(platform, name); });
        },
        killedBefore);
  }
  int remove() const {
    return exitStatus([&] { return attempt("New", &UnattendedAccess::remove); }, {});
  }
  void startAfresh() const {
    fs::remove(agentFile());
    fs::remove(registered());
    if (!GetParam()) return;
    ASSERT_EQ(install("Old"), 0);
  }

  void expectOldOrNew(const std::optional<std::string>& oldFile) const {
    const auto left = contentOf(agentFile());
    if (left == oldFile) return;
    ASSERT_NE(left, std::nullopt) << "the old file is gone";
    EXPECT_THAT(*left,
                testing::AllOf(testing::HasSubstr("/New/"), testing::EndsWith("</plist>\n")));
  }
  void expectTheNextAttemptsRepairIt() const {
    EXPECT_EQ(install("New"), 0);
    EXPECT_EQ(contentOf(registered()), contentOf(agentFile()));
    EXPECT_EQ(settings().stringForKey("unattendedAccessDeviceName"), "New");
    EXPECT_EQ(remove(), 0);
    EXPECT_FALSE(fs::exists(agentFile()));
    EXPECT_FALSE(fs::exists(registered()));
    EXPECT_EQ(settings().stringForKey("unattendedAccessDeviceName"), std::nullopt);
    EXPECT_FALSE(settings().boolForKey("unattendedAccessEnabled"));
  }

  [[nodiscard]] fs::path agentFile() const {
    return home() / "Library/LaunchAgents/com.quorvin.support.unattended.plist";
  }

 private:
  [[nodiscard]] fs::path home() const { return folder.path("home"); }
  [[nodiscard]] fs::path registered() const { return folder.path("registered"); }
  [[nodiscard]] LinuxUserDefaults settings() const {
    return LinuxUserDefaults(folder.path("config/defaults.ini"));
  }
  int attempt(const std::string& copy, const std::function<void(Platform&)>& work) const {
    fakes::FakeMachine machine;
    LinuxUserDefaults defaults(folder.path("config/defaults.ini"));
    LinuxFiles files(
        home() / "Applications" / copy / "Quorvin Support.app" / "Contents/Linux/quorvin-support",
        &defaults.lock());
    LinuxProcess process({"host"}, {}, folder.path("launchctl"), &defaults.lock());
    LinuxPropertyList propertyList;
    LinuxText text;
    Platform platform{.application = machine.application,
                      .dispatch = machine.dispatch,
                      .files = files,
                      .flutter = machine.flutter,
                      .imageEncoder = machine.imageEncoder,
                      .inputEvents = machine.inputEvents,
                      .notificationCenter = machine.notificationCenter,
                      .permissions = machine.permissions,
                      .process = process,
                      .propertyList = propertyList,
                      .screenCapture = machine.screenCapture,
                      .text = text,
                      .userDefaults = defaults,
                      .videoEncoder = machine.videoEncoder};
    try {
      work(platform);
    } catch (const Error&) {
      return 1;
    }
    return 0;
  }

  TemporaryFolder folder;
};

TEST_P(InstallKillTest, LeavesAWholeFileAndNothingThatTheNextAttemptCannotRepair) {
  constexpr int systemCallsMax = 1000;
  int killedBefore = 0;
  for (; killedBefore < systemCallsMax; ++killedBefore) {
    SCOPED_TRACE(killedBefore);
    startAfresh();
    const auto oldFile = contentOf(agentFile());
    const int status = install("New", killedBefore);
    if (status == 0) break;
    ASSERT_EQ(status, -SIGKILL);
    expectOldOrNew(oldFile);
    expectTheNextAttemptsRepairIt();
    if (HasFailure()) return;
  }
  EXPECT_GT(killedBefore, 15) << "folder, file, settings and two tasks take more steps than that";
  EXPECT_LT(killedBefore, systemCallsMax) << "it never came to its end";
}

INSTANTIATE_TEST_SUITE_P(Before, InstallKillTest, testing::Bool(), [](const auto& before) {
  return before.param ? "Installed" : "NotInstalled";
});

}  // namespace
}  // namespace quorvin
