// Registering with a systemd manager, as far as the calls of systemctl and the files go.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>

#include "launchctl/LoginFiles.h"
#include "tests/linux/launchctl/RecordingSystemctl.h"

namespace quorvin::launchctl {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

constexpr auto unitName = "com.example.agent.service";

class Bootstrap : public testing::Test {
 protected:
  std::filesystem::path enabledLink() const {
    return harness.unit().parent_path() / "graphical-session.target.wants" / unitName;
  }
  void expectRegistered() const {
    EXPECT_THAT(harness.files(),
                UnorderedElementsAre(harness.unit(), harness.entry(), enabledLink()));
    EXPECT_THAT(contentOf(harness.unit()),
                EndsWith(systemdUnitText({agentLabel, {"/bin/sleep", "1000"}, true})));
  }
  void expectFailure(const ProgramRun& run, int status, const std::string& words) const {
    EXPECT_EQ(run.status, status);
    EXPECT_EQ(run.output, "");
    EXPECT_THAT(run.errors, HasSubstr(words));
    EXPECT_EQ(run.errors.find('\n'), run.errors.size() - 1) << "more than one line";
  }

  LaunchctlHarness harness;
  RecordingSystemctl systemctl{harness};
};

TEST_F(Bootstrap, WritesAUnitAndHasItEnabledAndStarted) {
  const auto run = harness.bootstrap(harness.writeAgent());
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.output + run.errors, "");
  EXPECT_THAT(systemctl.calls(),
              ElementsAre("show-environment", "daemon-reload", "enable com.example.agent.service",
                          "is-active graphical-session.target", "start com.example.agent.service"));
  expectRegistered();
  EXPECT_THAT(contentOf(harness.entry()),
              HasSubstr("\"--user\" \"start\" \"com.example.agent.service\""));
  EXPECT_THAT(contentOf(harness.entry()), HasSubstr("X-systemd-skip=true"));
}

TEST_F(Bootstrap, TakesARelativePath) {
  harness.environment.push_back("PWD=");
  const auto file = harness.writeAgent();
  EXPECT_EQ(harness.bootstrap(std::filesystem::relative(file)).status, 0);
  expectRegistered();
}

TEST_F(Bootstrap, StartsTheUnitInASessionThatSystemdKnows) {
  systemctl.setEnvironment("HOME=/home/somebody\n");
  systemctl.setActive("graphical-session.target");
  EXPECT_EQ(harness.bootstrap(harness.writeAgent()).status, 0);
  EXPECT_EQ(systemctl.calls().back(), "start com.example.agent.service");
}

TEST_F(Bootstrap, WaitsForTheNextLoginWithoutAGraphicalSession) {
  systemctl.setEnvironment("HOME=/home/somebody\nXDISPLAY=:0\n");
  EXPECT_EQ(harness.bootstrap(harness.writeAgent()).status, 0);
  EXPECT_THAT(systemctl.calls(),
              ElementsAre("show-environment", "daemon-reload", "enable com.example.agent.service",
                          "is-active graphical-session.target"));
  expectRegistered();
}

TEST_F(Bootstrap, KeepsToTheFoldersOfTheEnvironment) {
  const auto config = harness.folder.path("config").string();
  harness.environment.push_back("XDG_CONFIG_HOME=" + config);
  EXPECT_EQ(harness.bootstrap(harness.writeAgent()).status, 0);
  EXPECT_TRUE(std::filesystem::exists(config + "/systemd/user/com.example.agent.service"));
  EXPECT_TRUE(std::filesystem::exists(config + "/autostart/com.example.agent.desktop"));
  EXPECT_FALSE(std::filesystem::exists(harness.unit()));
}

TEST_F(Bootstrap, DoesNotCountARelativeFolderOfTheEnvironment) {
  harness.environment.push_back("XDG_CONFIG_HOME=config");
  EXPECT_EQ(harness.bootstrap(harness.writeAgent()).status, 0);
  expectRegistered();
}

TEST_F(Bootstrap, FailsWhenTheAgentIsRegisteredAlready) {
  const auto file = harness.writeAgent();
  ASSERT_EQ(harness.bootstrap(file).status, 0);
  const auto before = contentOf(harness.unit());
  harness.writeAgent({agentLabel, {"/bin/sleep", "2000"}, AgentDescription{}.others});
  systemctl.forgetCalls();
  expectFailure(harness.bootstrap(file), 5, "com.example.agent is registered already");
  EXPECT_THAT(systemctl.calls(), ElementsAre("show-environment"));
  EXPECT_EQ(contentOf(harness.unit()), before);
}

TEST_F(Bootstrap, RegistersAgentsOfSeveralLabels) {
  ASSERT_EQ(harness.bootstrap(harness.writeAgent()).status, 0);
  const AgentDescription other{"com.example.other"};
  EXPECT_EQ(harness.bootstrap(harness.writeAgent(other)).status, 0);
  EXPECT_EQ(harness.bootout(harness.writeAgent()).status, 0);
  EXPECT_FALSE(std::filesystem::exists(harness.unit()));
  EXPECT_TRUE(std::filesystem::exists(harness.unit("com.example.other")));
}

TEST_F(Bootstrap, TakesEverythingBackWhenSystemctlFails) {
  for (const std::string command : {"daemon-reload", "enable", "start"}) {
    systemctl.failAt(command);
    const auto run = harness.bootstrap(harness.writeAgent());
    expectFailure(run, 5, "systemctl --user " + command + " failed: ");
    expectFailure(run, 5, "no luck with " + command);
    EXPECT_THAT(harness.files(), IsEmpty()) << command;
  }
  systemctl.failAt("");
  EXPECT_EQ(harness.bootstrap(harness.writeAgent()).status, 0);
  expectRegistered();
}

TEST_F(Bootstrap, LeavesAFileOfSomebodyElseAlone) {
  for (const auto& place : {harness.unit(), harness.entry()}) {
    std::filesystem::create_directories(place.parent_path());
    std::ofstream(place) << "[Unit]\n";
    expectFailure(harness.bootstrap(harness.writeAgent()), 5, place.string());
    expectFailure(harness.bootout(harness.writeAgent()), 3, "not registered");
    EXPECT_THAT(harness.files(), ElementsAre(place));
    EXPECT_EQ(contentOf(place), "[Unit]\n");
    std::filesystem::remove(place);
  }
}

TEST_F(Bootstrap, LeavesAMaskedUnitAlone) {
  std::filesystem::create_directories(harness.unit().parent_path());
  std::filesystem::create_symlink("/dev/null", harness.unit());
  expectFailure(harness.bootstrap(harness.writeAgent()), 5, harness.unit());
  EXPECT_TRUE(std::filesystem::is_symlink(harness.unit()));
}

TEST_F(Bootstrap, FailsWhenAFolderCannotBeMade) {
  std::filesystem::create_directory(harness.home());
  harness.put("home/.config", "a file");
  expectFailure(harness.bootstrap(harness.writeAgent()), 5, "cannot make the folder");
  EXPECT_EQ(contentOf(harness.home() + "/.config"), "a file");
}

// A size limit stands for a full disk: what fits is written, then it fails.
TEST_F(Bootstrap, LeavesNothingHalfWrittenWhenTheDiskIsFull) {
  AgentDescription description;
  description.arguments.resize(200, "a long argument, so that the unit is longer than a block");
  const auto file = harness.writeAgent(description);
  std::filesystem::create_directory(harness.home());
  const auto run =
      runProgram({"/bin/sh", "-c", "ulimit -f 4 && exec \"$@\"", "sh", QUORVIN_LAUNCHCTL,
                  "bootstrap", "gui/" + std::to_string(::getuid()), file},
                 harness.environment);
  expectFailure(run, 5, "cannot write " + harness.unit().string());
  EXPECT_THAT(harness.files(), IsEmpty());
}

TEST_F(Bootstrap, SaysOneLineWhateverTheFileIsCalled) {
  expectFailure(harness.bootstrap(harness.folder.path("two\nlines\xff.plist")), 5, "two lines");
}

TEST_F(Bootstrap, RepairsWhatAKilledOneHasLeft) {
  const auto file = harness.writeAgent();
  ASSERT_EQ(harness.bootstrap(file).status, 0);
  const auto calls = systemctl.calls().size();
  ASSERT_EQ(harness.bootout(file).status, 0);
  for (std::size_t call = 1; call <= calls; ++call) {
    systemctl.forgetCalls();
    systemctl.killAt(call);
    EXPECT_EQ(harness.bootstrap(file).status, 128 + SIGKILL) << call;
    if (std::filesystem::exists(harness.unit())) {
      EXPECT_THAT(contentOf(harness.unit()),
                  EndsWith(systemdUnitText({agentLabel, {"/bin/sleep", "1000"}, true})));
    }
    systemctl.killAt(0);
    EXPECT_EQ(harness.bootstrap(file).status, 0) << call;
    expectRegistered();
    EXPECT_EQ(harness.bootout(file).status, 0) << call;
    EXPECT_THAT(harness.files(), IsEmpty());
  }
}

TEST_F(Bootstrap, RemovesTheTemporaryFileOfAKilledOne) {
  std::filesystem::create_directories(harness.unit().parent_path());
  std::ofstream(harness.unit().string() + ".A1B2C3") << "[Un";
  EXPECT_EQ(harness.bootstrap(harness.writeAgent()).status, 0);
  expectRegistered();
}

TEST_F(Bootstrap, RegistersAnewWhenTheUnitWasDeletedByHand) {
  const auto file = harness.writeAgent();
  ASSERT_EQ(harness.bootstrap(file).status, 0);
  std::filesystem::remove(harness.unit());
  EXPECT_EQ(harness.bootstrap(file).status, 0);
  expectRegistered();
}

TEST_F(Bootstrap, OfTwoAtOnceOneSucceeds) {
  const auto file = harness.writeAgent();
  std::filesystem::create_directory(harness.home());
  const auto run = runProgram(
      {"/bin/sh", "-c", R"("$@" & first=$!; "$@"; b=$?; wait "$first"; a=$?; echo $((a + b)))",
       "sh", QUORVIN_LAUNCHCTL, "bootstrap", "gui/" + std::to_string(::getuid()), file},
      harness.environment);
  EXPECT_EQ(run.output, "5\n");
  expectRegistered();
}

}  // namespace
}  // namespace quorvin::launchctl
