// Why a call has failed, for whoever asks when nobody read what it said.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "tests/linux/launchctl/RecordingSystemctl.h"

namespace quorvin::launchctl {
namespace {

using testing::EndsWith;
using testing::HasSubstr;

class Log : public testing::Test {
 protected:
  [[nodiscard]] std::string log() const { return contentOf(harness.log()); }

  LaunchctlHarness harness;
  RecordingSystemctl systemctl{harness};
};

TEST_F(Log, SaysWhyABootstrapFailedTheNewestFirst) {
  const auto file = harness.writeAgent();
  ASSERT_EQ(::chmod(file.c_str(), 0666), 0);
  EXPECT_EQ(harness.bootstrap(file).status, 5);
  EXPECT_THAT(log(), HasSubstr(file + ": others may write to it; run chmod go-w on it\n"));
  EXPECT_EQ(harness.bootstrap(harness.folder.path("none.plist")).status, 5);
  EXPECT_LT(log().find("none.plist: No such file"), log().find("chmod go-w"));
}

TEST_F(Log, KeepsWhatFitsInAFewPages) {
  const auto file = harness.folder.path(std::string(200, 'x') + ".plist");
  for (int times = 0; times < 50; ++times) EXPECT_EQ(harness.bootstrap(file).status, 5);
  EXPECT_LT(log().size(), 5000U);
  EXPECT_GT(log().size(), 4000U);
}

TEST_F(Log, IsForItsOwnerOnly) {
  EXPECT_EQ(harness.bootstrap(harness.folder.path("none.plist")).status, 5);
  struct stat state {};
  ASSERT_EQ(::stat(harness.log().parent_path().c_str(), &state), 0);
  EXPECT_EQ(state.st_mode & 0777U, 0700U);
}

TEST_F(Log, HasNothingOfWhatWasOnlyAskedInVain) {
  EXPECT_EQ(harness.bootout(harness.folder.path("com.example.agent.plist")).status, 3);
  EXPECT_EQ(harness.run({"nonsense"}).status, 64);
  EXPECT_FALSE(std::filesystem::exists(harness.home() + "/.local"));
}

}  // namespace
}  // namespace quorvin::launchctl
