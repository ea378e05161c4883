#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

#include "platform/Error.h"
#include "platform/linux/system/Process.h"
#include "tests/TemporaryFolder.h"

namespace quorvin {
namespace {

constexpr auto shell = "/bin/sh";

LinuxProcess process(std::string launchctl = "/bin/launchctl") {
  return LinuxProcess({"program"}, {}, std::move(launchctl));
}

TEST(LinuxProcessTask, ReturnsTheExitStatus) {
  EXPECT_EQ(process().runTask(shell, {"-c", "exit 0"}), 0);
  EXPECT_EQ(process().runTask(shell, {"-c", "exit 37"}), 37);
}

TEST(LinuxProcessTask, ReturnsTheSignalThatEndedIt) {
  EXPECT_EQ(process().runTask(shell, {"-c", "kill -KILL $$"}), 9);
}

TEST(LinuxProcessTask, ReportsAProgramThatCannotBeStarted) {
  try {
    process().runTask("/nowhere/program", {});
    FAIL() << "started";
  } catch (const Error& error) {
    EXPECT_EQ(error, Error("com.quorvin.support.posix", ENOENT,
                           "/nowhere/program could not be started: No such file or directory."));
  }
}

TEST(LinuxProcessTask, HandsTheArgumentsOverAsTheyAre) {
  const TemporaryFolder folder;
  const std::string out = folder.path("out");
  process().runTask(shell, {"-c", "printf '%s|' \"$@\" > \"$0\"", out, "a b", "", "$HOME", "\"'"});
  std::ostringstream text;
  text << std::ifstream(out).rdbuf();
  EXPECT_EQ(text.str(), "a b||$HOME|\"'|");
}

TEST(LinuxProcessTask, LetsNothingThatItWritesThrough) {
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  process().runTask(shell, {"-c", "echo out; echo error >&2"});
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(LinuxProcessTask, RunsTheProgramThatStandsForLaunchctl) {
  const TemporaryFolder folder;
  const auto script = folder.writeScript("stand-in", "[ \"$*\" = 'bootout gui/1 /a b' ]\n");
  EXPECT_EQ(process(script).runTask("/bin/launchctl", {"bootout", "gui/1", "/a b"}), 0);
  EXPECT_EQ(process(script).runTask("/bin/launchctl", {"bootout"}), 1);
}

TEST(LinuxProcessTask, TakesLaunchctlFromTheEnvironmentOrFromBesideTheExecutable) {
  unsetenv("QUORVIN_LAUNCHCTL");
  EXPECT_EQ(LinuxProcess::launchctlFromEnvironment("/a b/host"), "/a b/quorvin-launchctl");
  setenv("QUORVIN_LAUNCHCTL", "/other/program", 1);
  EXPECT_EQ(LinuxProcess::launchctlFromEnvironment("/a b/host"), "/other/program");
  unsetenv("QUORVIN_LAUNCHCTL");
}

TEST(LinuxProcess, KnowsItsUser) {
  EXPECT_EQ(process().userID(), getuid());
}

TEST(LinuxProcess, WritesTheBytesToStandardOutputAtOnce) {
  testing::internal::CaptureStdout();
  process().writeToStandardOutput(std::string("Büro\0\n", 7));
  EXPECT_EQ(testing::internal::GetCapturedStdout(), std::string("Büro\0\n", 7));
}

}  // namespace
}  // namespace quorvin
