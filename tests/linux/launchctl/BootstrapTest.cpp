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
    return stand.unit().parent_path() / "graphical-session.target.wants" / unitName;
  }
  void expectRegistered() const {
    EXPECT_THAT(stand.files(), UnorderedElementsAre(stand.unit(), stand.entry(), enabledLink()));
    EXPECT_THAT(contentOf(stand.unit()),
                EndsWith(systemdUnitText({agentLabel, {"/bin/sleep", "1000"}, true})));
  }
  void expectFailure(const ProgramRun& run, int status, const std::string& words) const {
    EXPECT_EQ(run.status, status);
    EXPECT_EQ(run.output, "");
    EXPECT_THAT(run.errors, HasSubstr(words));
    EXPECT_EQ(run.errors.find('\n'), run.errors.size() - 1) << "more than one line";
  }

  LaunchctlStand stand;
  RecordingSystemctl systemctl{stand};
};

TEST_F(Bootstrap, WritesAUnitAndHasItEnabledAndStarted) {
  const auto run = stand.bootstrap(stand.writeAgent());
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.output + run.errors, "");
  EXPECT_THAT(systemctl.calls(),
              ElementsAre("show-environment", "daemon-reload", "enable com.example.agent.service",
                          "is-active graphical-session.target", "start com.example.agent.service"));
  expectRegistered();
  EXPECT_THAT(contentOf(stand.entry()),
              HasSubstr("\"--user\" \"start\" \"com.example.agent.service\""));
  EXPECT_THAT(contentOf(stand.entry()), HasSubstr("X-systemd-skip=true"));
}

TEST_F(Bootstrap, TakesARelativePath) {
  stand.environment.push_back("PWD=");
  const auto file = stand.writeAgent();
  EXPECT_EQ(stand.bootstrap(std::filesystem::relative(file)).status, 0);
  expectRegistered();
}

TEST_F(Bootstrap, StartsTheUnitInASessionThatSystemdKnows) {
  systemctl.setEnvironment("HOME=/home/somebody\n");
  systemctl.setActive("graphical-session.target");
  EXPECT_EQ(stand.bootstrap(stand.writeAgent()).status, 0);
  EXPECT_EQ(systemctl.calls().back(), "start com.example.agent.service");
}

TEST_F(Bootstrap, WaitsForTheNextLoginWithoutAGraphicalSession) {
  systemctl.setEnvironment("HOME=/home/somebody\nXDISPLAY=:0\n");
  EXPECT_EQ(stand.bootstrap(stand.writeAgent()).status, 0);
  EXPECT_THAT(systemctl.calls(),
              ElementsAre("show-environment", "daemon-reload", "enable com.example.agent.service",
                          "is-active graphical-session.target"));
  expectRegistered();
}

TEST_F(Bootstrap, KeepsToTheFoldersOfTheEnvironment) {
  const auto config = stand.folder.path("config").string();
  stand.environment.push_back("XDG_CONFIG_HOME=" + config);
  EXPECT_EQ(stand.bootstrap(stand.writeAgent()).status, 0);
  EXPECT_TRUE(std::filesystem::exists(config + "/systemd/user/com.example.agent.service"));
  EXPECT_TRUE(std::filesystem::exists(config + "/autostart/com.example.agent.desktop"));
  EXPECT_FALSE(std::filesystem::exists(stand.unit()));
}

TEST_F(Bootstrap, DoesNotCountARelativeFolderOfTheEnvironment) {
  stand.environment.push_back("XDG_CONFIG_HOME=config");
  EXPECT_EQ(stand.bootstrap(stand.writeAgent()).status, 0);
  expectRegistered();
}

TEST_F(Bootstrap, FailsWhenTheAgentIsRegisteredAlready) {
  const auto file = stand.writeAgent();
  ASSERT_EQ(stand.bootstrap(file).status, 0);
  const auto before = contentOf(stand.unit());
  stand.writeAgent({agentLabel, {"/bin/sleep", "2000"}, AgentDescription{}.others});
  systemctl.forgetCalls();
  expectFailure(stand.bootstrap(file), 5, "com.example.agent is registered already");
  EXPECT_THAT(systemctl.calls(), ElementsAre("show-environment"));
  EXPECT_EQ(contentOf(stand.unit()), before);
}

TEST_F(Bootstrap, RegistersAgentsOfSeveralLabels) {
  ASSERT_EQ(stand.bootstrap(stand.writeAgent()).status, 0);
  const AgentDescription other{"com.example.other"};
  EXPECT_EQ(stand.bootstrap(stand.writeAgent(other)).status, 0);
  EXPECT_EQ(stand.bootout(stand.writeAgent()).status, 0);
  EXPECT_FALSE(std::filesystem::exists(stand.unit()));
  EXPECT_TRUE(std::filesystem::exists(stand.unit("com.example.other")));
}

TEST_F(Bootstrap, TakesEverythingBackWhenSystemctlFails) {
  for (const std::string command : {"daemon-reload", "enable", "start"}) {
    systemctl.failAt(command);
    const auto run = stand.bootstrap(stand.writeAgent());
    expectFailure(run, 5, "systemctl --user " + command + " failed: ");
    expectFailure(run, 5, "no luck with " + command);
    EXPECT_THAT(stand.files(), IsEmpty()) << command;
  }
  systemctl.failAt("");
  EXPECT_EQ(stand.bootstrap(stand.writeAgent()).status, 0);
  expectRegistered();
}

TEST_F(Bootstrap, LeavesAFileOfSomebodyElseAlone) {
  for (const auto& place : {stand.unit(), stand.entry()}) {
    std::filesystem::create_directories(place.parent_path());
    std::ofstream(place) << "[Unit]\n";
    expectFailure(stand.bootstrap(stand.writeAgent()), 5, place.string());
    expectFailure(stand.bootout(stand.writeAgent()), 3, "not registered");
    EXPECT_THAT(stand.files(), ElementsAre(place));
    EXPECT_EQ(contentOf(place), "[Unit]\n");
    std::filesystem::remove(place);
  }
}

TEST_F(Bootstrap, LeavesAMaskedUnitAlone) {
  std::filesystem::create_directories(stand.unit().parent_path());
  std::filesystem::create_symlink("/dev/null", stand.unit());
  expectFailure(stand.bootstrap(stand.writeAgent()), 5, stand.unit());
  EXPECT_TRUE(std::filesystem::is_symlink(stand.unit()));
}

TEST_F(Bootstrap, FailsWhenAFolderCannotBeMade) {
  std::filesystem::create_directory(stand.home());
  stand.put("home/.config", "a file");
  expectFailure(stand.bootstrap(stand.writeAgent()), 5, "cannot make the folder");
  EXPECT_EQ(contentOf(stand.home() + "/.config"), "a file");
}

// A size limit stands for a full disk: what fits is written, then it fails.
TEST_F(Bootstrap, LeavesNothingHalfWrittenWhenTheDiskIsFull) {
  AgentDescription description;
  description.arguments.resize(200, "a long argument, so that the unit is longer than a block");
  const auto file = stand.writeAgent(description);
  std::filesystem::create_directory(stand.home());
  const auto run =
      runProgram({"/bin/sh", "-c", "ulimit -f 4 && exec \"$@\"", "sh", QUORVIN_LAUNCHCTL,
                  "bootstrap", "gui/" + std::to_string(::getuid()), file},
                 stand.environment);
  expectFailure(run, 5, "cannot write " + stand.unit().string());
  EXPECT_THAT(stand.files(), IsEmpty());
}

TEST_F(Bootstrap, SaysOneLineWhateverTheFileIsCalled) {
  expectFailure(stand.bootstrap(stand.folder.path("two\nlines\xff.plist")), 5, "two lines");
}

TEST_F(Bootstrap, RepairsWhatAKilledOneHasLeft) {
  const auto file = stand.writeAgent();
  ASSERT_EQ(stand.bootstrap(file).status, 0);
  const auto calls = systemctl.calls().size();
  ASSERT_EQ(stand.bootout(file).status, 0);
  for (std::size_t call = 1; call <= calls; ++call) {
    systemctl.forgetCalls();
    systemctl.killAt(call);
    EXPECT_EQ(stand.bootstrap(file).status, 128 + SIGKILL) << call;
    if (std::filesystem::exists(stand.unit())) {
      EXPECT_THAT(contentOf(stand.unit()),
                  EndsWith(systemdUnitText({agentLabel, {"/bin/sleep", "1000"}, true})));
    }
    systemctl.killAt(0);
    EXPECT_EQ(stand.bootstrap(file).status, 0) << call;
    expectRegistered();
    EXPECT_EQ(stand.bootout(file).status, 0) << call;
    EXPECT_THAT(stand.files(), IsEmpty());
  }
}

TEST_F(Bootstrap, RemovesTheTemporaryFileOfAKilledOne) {
  std::filesystem::create_directories(stand.unit().parent_path());
  std::ofstream(stand.unit().string() + ".A1B2C3") << "[Un";
  EXPECT_EQ(stand.bootstrap(stand.writeAgent()).status, 0);
  expectRegistered();
}

TEST_F(Bootstrap, RegistersAnewWhenTheUnitWasDeletedByHand) {
  const auto file = stand.writeAgent();
  ASSERT_EQ(stand.bootstrap(file).status, 0);
  std::filesystem::remove(stand.unit());
  EXPECT_EQ(stand.bootstrap(file).status, 0);
  expectRegistered();
}

TEST_F(Bootstrap, OfTwoAtOnceOneSucceeds) {
  const auto file = stand.writeAgent();
  std::filesystem::create_directory(stand.home());
  const auto run = runProgram(
      {"/bin/sh", "-c", R"("$@" & first=$!; "$@"; b=$?; wait "$first"; a=$?; echo $((a + b)))",
       "sh", QUORVIN_LAUNCHCTL, "bootstrap", "gui/" + std::to_string(::getuid()), file},
      stand.environment);
  EXPECT_EQ(run.output, "5\n");
  expectRegistered();
}

}  // namespace
}  // namespace quorvin::launchctl
