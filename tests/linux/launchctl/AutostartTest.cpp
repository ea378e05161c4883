// Registering where there is no systemd manager: an autostart entry, and a process of our own.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <fstream>

#include "launchctl/AgentProcess.h"
#include "launchctl/Failure.h"
#include "launchctl/ProcessIdentity.h"
#include "tests/linux/launchctl/LaunchctlStand.h"
#include "tests/linux/launchctl/Waiting.h"

namespace quorvin::launchctl {
namespace {

using namespace std::chrono_literals;

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

class Autostart : public testing::Test {
 public:
  Autostart() {
    stand.environment.emplace_back("QUORVIN_SYSTEMCTL=/no/such/systemctl");
    stand.environment.emplace_back("DISPLAY=:0");
  }
  ~Autostart() override { static_cast<void>(stand.bootout(stand.writeAgent())); }

 protected:
  std::optional<ProcessIdentity> recorded() const {
    const auto text = contentOf(stand.record());
    return identityFromText(text.substr(text.find('\n') + 1));
  }
  static bool isThere(const ProcessIdentity& identity) {
    return identityOf(identity.pid) == identity;
  }
  // The program of an agent: a shell that runs these lines.
  static AgentDescription shell(const std::string& lines) {
    return {agentLabel, {"/bin/sh", "-c", lines}, AgentDescription{}.others};
  }

  LaunchctlStand stand;
};

TEST_F(Autostart, StartsTheProgramNowAndWithEveryLogin) {
  const auto run = stand.bootstrap(stand.writeAgent());
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.errors, "");
  EXPECT_THAT(stand.files(), UnorderedElementsAre(stand.entry(), stand.record()));
  EXPECT_THAT(contentOf(stand.entry()), HasSubstr(std::string("Exec=\"") + QUORVIN_LAUNCHCTL +
                                                  "\" \"run\" \"com.example.agent\" "
                                                  "\"/bin/sleep\" \"1000\"\n"));
  const auto process = recorded();
  ASSERT_TRUE(process);
  EXPECT_TRUE(isThere(*process));
  EXPECT_EQ(::getsid(process->pid), process->pid) << "not in a session of its own";
  EXPECT_EQ(contentOf("/proc/" + std::to_string(process->pid) + "/cmdline"),
            std::string("/bin/sleep\0001000\0", 16));
}

TEST_F(Autostart, HandsTheProgramItsArgumentsAndNothingElse) {
  const auto file = stand.folder.path("seen").string();
  auto agent = shell("ls /proc/self/fd >'" + file + ".new'; grep '^Sig[BI]' /proc/self/status >>'" +
                     file + ".new'; printf '<%s>' \"$@\" >>'" + file + ".new'; mv '" + file +
                     ".new' '" + file + "'");
  agent.arguments.insert(agent.arguments.end(), {"sh", "a b", "$HOME", "%f", "", "\"\\"});
  ASSERT_EQ(stand.bootstrap(stand.writeAgent(agent)).status, 0);
  ASSERT_TRUE(becomesTrue([&] { return std::filesystem::exists(file); }));
  EXPECT_EQ(contentOf(file),
            "0\n1\n2\n3\nSigBlk:\t0000000000000000\nSigIgn:\t0000000000000000\n"
            "<a b><$HOME><%f><><\"\\>");
}

TEST_F(Autostart, WaitsForTheNextLoginWithoutAGraphicalSession) {
  stand.environment.emplace_back("DISPLAY=");
  EXPECT_EQ(stand.bootstrap(stand.writeAgent()).status, 0);
  EXPECT_THAT(stand.files(), ElementsAre(stand.entry()));
}

TEST_F(Autostart, FailsWhenTheAgentIsRegisteredAlready) {
  ASSERT_EQ(stand.bootstrap(stand.writeAgent()).status, 0);
  const auto first = recorded();
  const auto again = stand.bootstrap(stand.writeAgent());
  EXPECT_EQ(again.status, 5);
  EXPECT_THAT(again.errors, HasSubstr("registered already"));
  EXPECT_EQ(recorded(), first);
}

TEST_F(Autostart, EndsTheProgramWithTheRegistration) {
  const auto file = stand.writeAgent();
  ASSERT_EQ(stand.bootstrap(file).status, 0);
  const auto process = recorded();
  ASSERT_TRUE(process);
  EXPECT_EQ(stand.bootout(file).status, 0);
  EXPECT_FALSE(isThere(*process));
  EXPECT_THAT(stand.files(), IsEmpty());
  EXPECT_EQ(stand.bootout(file).status, 3);
}

TEST_F(Autostart, EndsTheProgramThatALoginHasStarted) {
  stand.environment.emplace_back("DISPLAY=");
  const auto file = stand.writeAgent();
  ASSERT_EQ(stand.bootstrap(file).status, 0);
  // As a desktop would: it stays our child, and becomes the program.
  const auto pid = runProgram({"/bin/sh", "-c", "\"$@\" >/dev/null 2>&1 & echo $!", "sh",
                               QUORVIN_LAUNCHCTL, "run", agentLabel, "/bin/sleep", "1000"},
                              stand.environment);
  ASSERT_TRUE(becomesTrue([&] {
    return contentOf("/proc/" + std::to_string(std::stoi(pid.output)) + "/comm") == "sleep\n";
  }));
  ASSERT_TRUE(recorded());
  EXPECT_EQ(recorded()->pid, std::stoi(pid.output));
  EXPECT_EQ(stand.bootout(file).status, 0);
  EXPECT_NE(contentOf("/proc/" + pid.output + "/comm"), "sleep\n");
}

TEST_F(Autostart, DoesNotRunTheProgramTwice) {
  ASSERT_EQ(stand.bootstrap(stand.writeAgent()).status, 0);
  const auto first = recorded();
  EXPECT_EQ(stand.run({"run", agentLabel, "/bin/sleep", "1000"}).status, 0);
  EXPECT_EQ(recorded(), first);
}

TEST_F(Autostart, NeverEndsAProcessThatOnlyHasTheSameNumber) {
  const auto file = stand.writeAgent();
  ASSERT_EQ(stand.bootstrap(file).status, 0);
  const auto process = recorded();
  ASSERT_TRUE(process);
  auto other = *process;
  other.startTicks -= 1;
  const auto text = contentOf(stand.record());
  const auto firstLine = text.substr(0, text.find('\n') + 1);
  std::ofstream(stand.record()) << firstLine << toText(other);
  EXPECT_EQ(stand.bootout(file).status, 0);
  EXPECT_TRUE(isThere(*process));
  ::kill(process->pid, SIGKILL);
}

TEST_F(Autostart, SurvivesABrokenRecord) {
  const auto file = stand.writeAgent();
  for (const std::string rest : {"", "x", "-1 2 3", "0 0 0", "1", "99999999999999999999 1 a"}) {
    std::filesystem::create_directories(stand.record().parent_path());
    std::ofstream(stand.record())
        << "# Written by quorvin-launchctl; \"quorvin-launchctl bootout\" removes it.\n"
        << rest;
    EXPECT_EQ(stand.bootout(file).status, 0) << rest;
    EXPECT_THAT(stand.files(), IsEmpty()) << rest;
  }
}

TEST_F(Autostart, TakesEverythingBackWhenTheProgramCannotBeExecuted) {
  // Executable by its mode, but no program.
  const auto program = stand.folder.write("program",
                                          "\x7f"
                                          "ELF");
  std::filesystem::permissions(program, std::filesystem::perms::owner_all);
  const AgentDescription agent{agentLabel, {program}, AgentDescription{}.others};
  const auto run = stand.bootstrap(stand.writeAgent(agent));
  EXPECT_EQ(run.status, 5);
  EXPECT_THAT(run.errors, HasSubstr("cannot start " + program));
  EXPECT_THAT(stand.files(), IsEmpty());
}

TEST_F(Autostart, TakesEverythingBackWhenTheEntryCannotBeWritten) {
  std::filesystem::create_directories(stand.home() + "/.config");
  stand.put("home/.config/autostart", "a file");
  const auto run = stand.bootstrap(stand.writeAgent());
  EXPECT_EQ(run.status, 5);
  EXPECT_THAT(run.errors, HasSubstr("cannot make the folder"));
  EXPECT_THAT(stand.files(), ElementsAre(stand.home() + "/.config/autostart"));
}

TEST_F(Autostart, IsRegisteredAnewWhenOnlyTheProcessIsThere) {
  const auto file = stand.writeAgent();
  ASSERT_EQ(stand.bootstrap(file).status, 0);
  const auto first = recorded();
  std::filesystem::remove(stand.entry());  // as if killed before the last step
  EXPECT_EQ(stand.bootstrap(file).status, 0);
  ASSERT_TRUE(first && recorded());
  EXPECT_FALSE(isThere(*first));
  EXPECT_TRUE(isThere(*recorded()));
}

TEST(AgentProcess, IsKilledWhenItDoesNotEndByItself) {
  const TemporaryFolder folder;
  const auto ready = folder.path("ready").string();
  const AgentProcess process(OwnFile(folder.path("record")));
  process.start({"/bin/sh", "-c", "trap '' TERM; : >'" + ready + "'; exec sleep 1000"});
  ASSERT_TRUE(becomesTrue([&] { return std::filesystem::exists(ready); }));
  ASSERT_TRUE(process.isRunning());
  process.end(10ms);
  int status = 0;
  ASSERT_GT(::waitpid(-1, &status, 0), 0);
  EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL);
  EXPECT_FALSE(process.isRecorded());
}

TEST(AgentProcess, SaysWhyItCannotStart) {
  const TemporaryFolder folder;
  const AgentProcess process(OwnFile(folder.path("record")));
  EXPECT_THROW(process.start({"/no/such/program"}), Failure);
  EXPECT_FALSE(process.isRecorded());
}

TEST(ProcessIdentity, IsOfOneProcessOnly) {
  const auto self = identityOf(::getpid());
  const auto parent = identityOf(::getppid());
  ASSERT_TRUE(self && parent);
  EXPECT_NE(self, parent);
  EXPECT_EQ(identityFromText(toText(*self)), self);
  EXPECT_EQ(identityOf(0), std::nullopt);
}

}  // namespace
}  // namespace quorvin::launchctl
