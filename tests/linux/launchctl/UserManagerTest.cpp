// The program and a real systemd user manager. To be run by with_user_manager.sh, which makes both
// a world of their own.

#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <fstream>

#include "tests/linux/launchctl/LaunchctlHarness.h"

namespace quorvin::launchctl {
namespace {

constexpr auto unitName = "com.example.agent.service";

class UserManager : public testing::Test {
 public:
  UserManager() {
    // The manager's own folders, not the harness's.
    harness.environment.clear();
    std::ofstream(desktopUnit()) << "[Unit]\nBindsTo=graphical-session.target\n"
                                    "Before=graphical-session.target\n"
                                    "[Service]\nExecStart=/bin/sleep 1000\n";
    EXPECT_EQ(systemctl({"daemon-reload"}).status, 0);
  }
  ~UserManager() override {
    static_cast<void>(harness.bootout(harness.folder.path("com.example.agent.plist")));
    EXPECT_EQ(systemctl({"stop", "desktop.service"}).status, 0);
    EXPECT_EQ(systemctl({"unset-environment", "DISPLAY"}).status, 0);
  }

 protected:
  static std::filesystem::path units() {
    return std::filesystem::path(std::getenv("HOME")) / ".config" / "systemd" / "user";
  }
  static std::filesystem::path desktopUnit() {
    std::filesystem::create_directories(units());
    return units() / "desktop.service";
  }
  static ProgramRun systemctl(std::vector<std::string> command) {
    command.insert(command.begin(), {"systemctl", "--user"});
    return runProgram(std::move(command));
  }
  // A desktop that tells systemd of its session.
  static void logIn() { ASSERT_EQ(systemctl({"start", "desktop.service"}).status, 0); }
  static void logOut() { ASSERT_EQ(systemctl({"stop", "desktop.service"}).status, 0); }
  // One that does not; its display is known all the same.
  static void logInQuietly() { ASSERT_EQ(systemctl({"set-environment", "DISPLAY=:7"}).status, 0); }
  static std::string property(const std::string& name) {
    const auto shown = systemctl({"show", "--value", "--property", name, unitName}).output;
    return shown.substr(0, shown.find('\n'));
  }
  static bool becomes(const std::string& name, const std::string& value) {
    return becomesTrue([&] { return property(name) == value; });
  }
  void bootstrap(const AgentDescription& agent = {}) const {
    const auto run = harness.bootstrap(harness.writeAgent(agent));
    ASSERT_EQ(run.status, 0);
    ASSERT_EQ(run.errors, "");
  }

  LaunchctlHarness harness;
};

TEST_F(UserManager, StartsAndEndsTheAgentWithTheGraphicalSession) {
  bootstrap();
  EXPECT_EQ(property("UnitFileState"), "enabled");
  EXPECT_EQ(property("ActiveState"), "inactive");
  logIn();
  EXPECT_TRUE(becomes("ActiveState", "active"));
  logOut();
  EXPECT_TRUE(becomes("ActiveState", "inactive"));
}

TEST_F(UserManager, StartsTheAgentAtOnceDuringAGraphicalSession) {
  logIn();
  bootstrap();
  EXPECT_EQ(property("ActiveState"), "active");
}

TEST_F(UserManager, StartsTheAgentAtOnceOnADesktopThatDoesNotTell) {
  logInQuietly();
  bootstrap();
  EXPECT_EQ(property("ActiveState"), "active");
}

TEST_F(UserManager, ForgetsTheAgentAtABootout) {
  logInQuietly();
  bootstrap();
  const auto process = property("MainPID");
  ASSERT_EQ(harness.bootout(harness.folder.path("com.example.agent.plist")).status, 0);
  EXPECT_EQ(property("LoadState"), "not-found");
  EXPECT_EQ(property("ActiveState"), "inactive");
  EXPECT_FALSE(std::filesystem::exists("/proc/" + process));
  EXPECT_FALSE(std::filesystem::exists(units() / unitName));
  EXPECT_FALSE(std::filesystem::exists(units() / "graphical-session.target.wants" / unitName));
  EXPECT_EQ(harness.bootout(harness.folder.path("com.example.agent.plist")).status, 3);
}

TEST_F(UserManager, HandsTheProgramItsArgumentsAsTheyAre) {
  const std::vector<std::string> arguments{"",    "a b",   "\"",      "'",  "\\",  "\\n",     "%h",
                                           "%%",  "$HOME", "${HOME}", "$$", ";",   "a\nb\tc", "#",
                                           "ä€😀", " ",     "@x",      "-",  "\x7f"};
  const auto seen = harness.folder.path("seen").string();
  // Named only once it is complete.
  const auto script = "#!/bin/sh\nseen='" + seen +
                      "'\nprintf '<%s>' \"$@\" >\"$seen.new\"\nmv \"$seen.new\" \"$seen\"\n"
                      "exec sleep 1000\n";
  for (const std::string name :
       {"plain", "with blank", "100% $HOME", "\"quoted\"", "back\\slash"}) {
    const auto program = harness.folder.write(name, script);
    std::filesystem::permissions(program, std::filesystem::perms::owner_all);
    AgentDescription agent;
    agent.arguments = {program};
    agent.arguments.insert(agent.arguments.end(), arguments.begin(), arguments.end());
    std::string expected;
    for (const auto& argument : arguments) expected += "<" + argument + ">";

    logInQuietly();
    bootstrap(agent);
    EXPECT_TRUE(becomesTrue([&] { return std::filesystem::exists(seen); })) << name;
    EXPECT_EQ(contentOf(seen), expected) << name;
    std::filesystem::remove(seen);
    ASSERT_EQ(harness.bootout(harness.writeAgent(agent)).status, 0);
  }
}

TEST_F(UserManager, StartsTheAgentAgainWhenItEnds) {
  logInQuietly();
  bootstrap();
  const auto first = property("MainPID");
  ::kill(std::stoi(first), SIGKILL);
  EXPECT_TRUE(becomes("NRestarts", "1"));
  EXPECT_TRUE(becomes("ActiveState", "active"));
  EXPECT_NE(property("MainPID"), first);
}

TEST_F(UserManager, LeavesAnAgentAloneThatIsNotWanted) {
  logInQuietly();
  bootstrap({agentLabel, {"/bin/sh", "-c", "exit 2"}, AgentDescription{}.others});
  // An agent that waits for its next start is "activating".
  EXPECT_TRUE(becomes("ActiveState", "failed"));
  EXPECT_EQ(property("ExecMainStatus"), "2");
  EXPECT_EQ(property("NRestarts"), "0");
}

TEST_F(UserManager, StartsAnAgentOnceThatIsNotToBeKeptAlive) {
  logInQuietly();
  bootstrap({agentLabel, {"/bin/sh", "-c", "exit 1"}, "<key>RunAtLoad</key><true/>"});
  EXPECT_TRUE(becomes("ActiveState", "failed"));
  EXPECT_EQ(property("ExecMainStatus"), "1");
}

}  // namespace
}  // namespace quorvin::launchctl
