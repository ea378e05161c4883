// Unregistering from a systemd manager, as far as the calls of systemctl and the files go.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/linux/launchctl/RecordingSystemctl.h"

namespace quorvin::launchctl {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class Bootout : public testing::Test {
 protected:
  void expectUnknown(const ProgramRun& run) const {
    EXPECT_EQ(run.status, 3);
    EXPECT_THAT(run.errors,
                AllOf(HasSubstr("com.example.agent is not registered"), Not(HasSubstr("\n\n"))));
  }
  // The path of the file of an agent that is registered.
  std::string registered() {
    auto file = harness.writeAgent();
    EXPECT_EQ(harness.bootstrap(file).status, 0);
    systemctl.forgetCalls();
    return file;
  }

  LaunchctlHarness harness;
  RecordingSystemctl systemctl{harness};
};

TEST_F(Bootout, StopsTheUnitAndRemovesEveryTrace) {
  const auto file = registered();
  const auto run = harness.bootout(file);
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.output + run.errors, "");
  EXPECT_THAT(systemctl.calls(), ElementsAre("show-environment", "stop com.example.agent.service",
                                             "disable com.example.agent.service", "daemon-reload",
                                             "reset-failed com.example.agent.service"));
  EXPECT_THAT(harness.files(), IsEmpty());
}

TEST_F(Bootout, FailsWhenTheAgentIsNotRegistered) {
  const auto file = harness.writeAgent();
  expectUnknown(harness.bootout(file));
  EXPECT_THAT(systemctl.calls(), ElementsAre("show-environment"));
  ASSERT_EQ(harness.bootstrap(file).status, 0);
  EXPECT_EQ(harness.bootout(file).status, 0);
  expectUnknown(harness.bootout(file));
}

TEST_F(Bootout, NeedsOnlyTheNameOfADeletedFile) {
  const auto file = registered();
  std::filesystem::remove(file);
  EXPECT_EQ(harness.bootout(file).status, 0);
  EXPECT_THAT(harness.files(), IsEmpty());
}

TEST_F(Bootout, GoesByTheLabelInsideTheFile) {
  registered();
  const auto other = harness.folder.write("com.other.plist", AgentDescription{}.xml());
  EXPECT_EQ(harness.bootout(other).status, 0);
  EXPECT_THAT(harness.files(), IsEmpty());
}

TEST_F(Bootout, FailsWhenTheFileDoesNotSayWhichAgent) {
  const auto run = harness.bootout(harness.folder.path("agents"));
  EXPECT_EQ(run.status, 3);
  EXPECT_THAT(run.errors, HasSubstr("name the file LABEL.plist"));
}

TEST_F(Bootout, RemovesTheFilesWhateverSystemctlSays) {
  for (const auto* command : {"stop", "disable", "daemon-reload", "reset-failed"}) {
    const auto file = registered();
    systemctl.failAt(command);
    EXPECT_EQ(harness.bootout(file).status, 0) << command;
    EXPECT_THAT(harness.files(), IsEmpty()) << command;
    systemctl.failAt("");
  }
}

TEST_F(Bootout, CanBeRepeatedWhenTheUnitDoesNotStop) {
  const auto file = registered();
  systemctl.failAt("stop");
  systemctl.setActive("com.example.agent.service");
  const auto run = harness.bootout(file);
  EXPECT_EQ(run.status, 5);
  EXPECT_THAT(run.errors, HasSubstr("com.example.agent.service does not stop"));
  EXPECT_TRUE(std::filesystem::exists(harness.unit()));
  systemctl.failAt("");
  EXPECT_EQ(harness.bootout(file).status, 0);
  EXPECT_THAT(harness.files(), IsEmpty());
}

TEST_F(Bootout, RemovesTheFilesWhenThereIsNoManagerAnyMore) {
  const auto file = registered();
  systemctl.failAt("show-environment");
  EXPECT_EQ(harness.bootout(file).status, 0);
  EXPECT_THAT(systemctl.calls(), ElementsAre("show-environment"));
  EXPECT_THAT(harness.files(), IsEmpty());
}

TEST_F(Bootout, IsFinishedByTheNextOneWhenKilled) {
  const auto file = registered();
  ASSERT_EQ(harness.bootout(file).status, 0);
  const auto calls = systemctl.calls().size();
  for (std::size_t call = 1; call <= calls; ++call) {
    registered();
    systemctl.killAt(call);
    EXPECT_EQ(harness.bootout(file).status, 128 + SIGKILL) << call;
    systemctl.killAt(0);
    const auto isDone = harness.files().empty();
    EXPECT_EQ(harness.bootout(file).status, isDone ? 3 : 0) << call;
    EXPECT_THAT(harness.files(), IsEmpty()) << call;
  }
}

TEST_F(Bootout, LetsTheNextBootstrapBeginAnewWhenKilled) {
  const auto file = registered();
  ASSERT_EQ(harness.bootout(file).status, 0);
  const auto calls = systemctl.calls().size();
  for (std::size_t call = 2; call <= calls; ++call) {  // at the first it has not begun
    registered();
    systemctl.killAt(call);
    EXPECT_EQ(harness.bootout(file).status, 128 + SIGKILL) << call;
    systemctl.killAt(0);
    EXPECT_EQ(harness.bootstrap(file).status, 0) << call;
    EXPECT_EQ(harness.bootout(file).status, 0) << call;
  }
}

TEST_F(Bootout, LeavesAFolderAloneThatHasTheUnitsName) {
  const auto file = registered();
  std::filesystem::remove(harness.unit());
  std::filesystem::create_directory(harness.unit());
  EXPECT_EQ(harness.bootout(file).status, 0);
  EXPECT_TRUE(std::filesystem::is_directory(harness.unit()));
  EXPECT_FALSE(std::filesystem::exists(harness.entry()));
}

}  // namespace
}  // namespace quorvin::launchctl
