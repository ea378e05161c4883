// Registering where there is no systemd manager: an autostart entry, and what a login makes of it.

#include <glib.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <memory>
#include <optional>

#include "launchctl/AgentProcess.h"
#include "tests/linux/launchctl/LaunchctlHarness.h"
#include "tests/linux/launchctl/RecordingSystemctl.h"

namespace quorvin::launchctl {
namespace {

using namespace std::chrono_literals;

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

using Command = std::vector<std::string>;

bool isRunning(const Command& command) {
  bool isThere = false;
  endProcesses([&](const Command& other) {
    isThere = isThere || other == command;
    return false;
  });
  return isThere;
}

// A process of this test's own.
class Child {
 public:
  explicit Child(Command command) {
    std::vector<char*> words(command.size() + 1, nullptr);
    std::ranges::transform(command, words.begin(), [](auto& word) { return word.data(); });
    EXPECT_TRUE(g_spawn_async(nullptr, words.data(), nullptr, G_SPAWN_DO_NOT_REAP_CHILD, nullptr,
                              nullptr, &pid, nullptr));
  }
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;
  ~Child() {
    if (!signal()) ::kill(pid, SIGKILL);
  }

  // What has ended it; nothing when it runs.
  [[nodiscard]] std::optional<int> signal() {
    int status = 0;
    if (!ended && ::waitpid(pid, &status, WNOHANG) == pid) ended = WTERMSIG(status);
    return ended;
  }
  void kill() const { ::kill(pid, SIGKILL); }

 private:
  GPid pid = 0;
  std::optional<int> ended;
};

class Autostart : public testing::Test {
 public:
  Autostart() { harness.environment.emplace_back("QUORVIN_SYSTEMCTL=/no/such/systemctl"); }

 protected:
  // Registers this command, and returns the file that describes the agent.
  std::string registered(const Command& arguments) const {
    auto file = harness.writeAgent({agentLabel, arguments, AgentDescription{}.others});
    const auto run = harness.bootstrap(file);
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.errors, "");
    return file;
  }
  // The program that a login to a desktop starts.
  [[nodiscard]] std::unique_ptr<Child> logIn() const {
    return std::make_unique<Child>(commandOfEntry(contentOf(harness.entry())));
  }

  LaunchctlHarness harness;
  // Tests that run at the same time must not end each other's.
  const std::string own = std::to_string(::getpid());
  const Command program{"/bin/sleep", "1000", own};
};

TEST_F(Autostart, StartsTheProgramWithTheNextLogin) {
  registered(program);
  EXPECT_THAT(harness.files(), ElementsAre(harness.entry()));
  EXPECT_THAT(contentOf(harness.entry()), Not(HasSubstr("X-systemd-skip")));
  EXPECT_FALSE(isRunning(program));
  const auto started = logIn();
  EXPECT_TRUE(isRunning(program));
}

TEST_F(Autostart, FailsWhenTheAgentIsRegisteredAlready) {
  const auto file = registered(program);
  const auto started = logIn();
  const auto again = harness.bootstrap(file);
  EXPECT_EQ(again.status, 5);
  EXPECT_THAT(again.errors, HasSubstr("registered already"));
  EXPECT_EQ(started->signal(), std::nullopt);
}

TEST_F(Autostart, EndsWhatEveryLoginHasStarted) {
  const auto file = registered(program);
  const auto first = logIn();
  const auto second = logIn();
  EXPECT_EQ(harness.bootout(file).status, 0);
  EXPECT_EQ(first->signal(), SIGTERM);
  EXPECT_EQ(second->signal(), SIGTERM);
  EXPECT_THAT(harness.files(), IsEmpty());
  EXPECT_EQ(harness.bootout(file).status, 3);
}

TEST_F(Autostart, EndsAProgramOfAnyName) {
  const auto name = harness.folder.path("a=b 100% \"$HOME\"\n").string();
  std::filesystem::copy_file("/bin/sleep", name);
  const auto file = registered({name, "1000"});
  const auto started = logIn();
  EXPECT_TRUE(becomesTrue([&] { return isRunning({name, "1000"}); }));  // a shell at first
  EXPECT_EQ(harness.bootout(file).status, 0);
  EXPECT_EQ(started->signal(), SIGTERM);
}

TEST_F(Autostart, EndsNothingElse) {
  const auto file = registered(program);
  std::vector<std::unique_ptr<Child>> others;
  for (const Command& command :
       {Command{"/bin/sleep", "1000" + own}, Command{"/bin/sleep", "1000"},
        Command{"/bin/sleep", "1000", own, "1"}, Command{"/usr/bin/sleep", "1000", own}}) {
    others.push_back(std::make_unique<Child>(command));
  }
  if (::getuid() == 0) {  // the same of somebody else
    Command ofOther{"/usr/bin/setpriv", "--reuid=65534", "--clear-groups"};
    ofOther.insert(ofOther.end(), program.begin(), program.end());
    others.push_back(std::make_unique<Child>(ofOther));
    EXPECT_TRUE(becomesTrue([&] { return !isRunning(ofOther); }));
  }
  EXPECT_EQ(harness.bootout(file).status, 0);
  for (const auto& other : others) EXPECT_EQ(other->signal(), std::nullopt);
}

// The entry is the only trace of the program, so that it goes last.
TEST_F(Autostart, IsEndedByTheNextBootoutWhenOneWasKilled) {
  const auto asked = harness.folder.path("asked").string();
  const auto pipe = harness.folder.path("pipe").string();
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  const auto file = registered({"/bin/bash", "-c",
                                "trap 'trap - TERM; : >'" + asked + " TERM; exec 3<>" + pipe +
                                    "; : >" + asked + ".not; while :; do read -u 3; done"});
  const auto started = logIn();
  ASSERT_TRUE(becomesTrue([&] { return std::filesystem::exists(asked + ".not"); }));
  Command command{"/usr/bin/env"};
  command.insert(command.end(), harness.environment.begin(), harness.environment.end());
  command.insert(command.end(),
                 {QUORVIN_LAUNCHCTL, "bootout", "gui/" + std::to_string(::getuid()), file});
  Child bootout(command);
  ASSERT_TRUE(becomesTrue([&] { return std::filesystem::exists(asked); }));
  bootout.kill();
  ASSERT_TRUE(becomesTrue([&] { return bootout.signal() == SIGKILL; }));
  EXPECT_EQ(started->signal(), std::nullopt);
  EXPECT_EQ(harness.bootout(file).status, 0);
  EXPECT_EQ(started->signal(), SIGTERM);
  EXPECT_THAT(harness.files(), IsEmpty());
}

TEST_F(Autostart, LeavesTheProgramToAManagerThatHasCome) {
  const auto file = registered(program);
  const auto started = logIn();
  const RecordingSystemctl systemctl(harness);
  EXPECT_EQ(harness.bootstrap(file).status, 0);
  EXPECT_EQ(started->signal(), SIGTERM);
  EXPECT_EQ(systemctl.calls().back(), "start com.example.agent.service");
  EXPECT_THAT(contentOf(harness.entry()), HasSubstr("X-systemd-skip"));
}

TEST_F(Autostart, TakesEverythingBackWhenTheEntryCannotBeWritten) {
  std::filesystem::create_directories(harness.home() + "/.config");
  harness.put("home/.config/autostart", "a file");
  const auto run = harness.bootstrap(harness.writeAgent());
  EXPECT_EQ(run.status, 5);
  EXPECT_THAT(run.errors, HasSubstr("cannot make the folder"));
  EXPECT_THAT(harness.files(), ElementsAre(harness.home() + "/.config/autostart"));
}

TEST_F(Autostart, KillsWhatDoesNotEndByItself) {
  Child stubborn({"/bin/sh", "-c", "trap '' TERM; exec /bin/sleep 1000 " + own});
  ASSERT_TRUE(becomesTrue([&] { return isRunning(program); }));
  endProcesses([&](const Command& command) { return command == program; }, 10ms);
  EXPECT_EQ(stubborn.signal(), SIGKILL);
}

}  // namespace
}  // namespace quorvin::launchctl
