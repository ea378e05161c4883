#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <string>
#include <vector>

#include "platform/linux/system/Process.h"
#include "tests/TemporaryFolder.h"

namespace quorvin {
namespace {

// Standard error as a pipe, for as long as this exists.
class StandardErrorPipe {
 public:
  StandardErrorPipe() : original(dup(STDERR_FILENO)) {
    std::array<int, 2> pipe{};
    EXPECT_EQ(pipe2(pipe.data(), O_CLOEXEC), 0);
    reader = pipe[0];
    dup2(pipe[1], STDERR_FILENO);
    close(pipe[1]);
  }
  StandardErrorPipe(const StandardErrorPipe&) = delete;
  StandardErrorPipe& operator=(const StandardErrorPipe&) = delete;
  ~StandardErrorPipe() {
    dup2(original, STDERR_FILENO);
    close(original);
    closeReader();
  }

  void closeReader() {
    if (reader >= 0) close(reader);
    reader = -1;
  }

 private:
  int original;
  int reader = -1;
};

LinuxProcess plainProcess() {
  return LinuxProcess({"program", "--flag", ""}, {});
}

TEST(LinuxProcess, IsNoMacOS) {
  EXPECT_FALSE(plainProcess().isMacOSAtLeast(0, 0));
}

TEST(ActivityServices, FindTheBusInTheRuntimeFolderUnlessTheEnvironmentNamesOne) {
  const TemporaryFolder folder;
  unsetenv("DBUS_SESSION_BUS_ADDRESS");
  setenv("XDG_RUNTIME_DIR", folder.path().c_str(), 1);
  EXPECT_EQ(ActivityServices::fromEnvironment().busAddress, "");
  ASSERT_EQ(mknod(folder.path("bus").c_str(), S_IFSOCK | S_IRUSR, 0), 0);
  EXPECT_EQ(ActivityServices::fromEnvironment().busAddress,
            "unix:path=" + folder.path("bus").string());
  setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/other", 1);
  EXPECT_EQ(ActivityServices::fromEnvironment().busAddress, "unix:path=/other");
}

TEST(LinuxProcess, SurvivesAStandardErrorThatNobodyReads) {
  StandardErrorPipe standardError;
  standardError.closeReader();
  plainProcess().writeToStandardError("lost\n");
}

TEST(LinuxProcess, SurvivesAClosedStandardError) {
  const StandardErrorPipe standardError;
  close(STDERR_FILENO);
  plainProcess().writeToStandardError("lost\n");
  EXPECT_EQ(fcntl(STDERR_FILENO, F_GETFD), -1);
}

TEST(LinuxProcessDeathTest, ExitsWithTheStatusAfterTheLastWorkOfTheProgram) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  EXPECT_EXIT(
      {
        std::atexit([] { plainProcess().writeToStandardError("put away\n"); });
        plainProcess().exit(3);
      },
      testing::ExitedWithCode(3), "put away");
}

}  // namespace
}  // namespace quorvin
