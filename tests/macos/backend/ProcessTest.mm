#import "platform/macos/Process.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <cerrno>

#include "platform/Error.h"
#include "tests/macos/backend/SystemTest.h"

namespace quorvin {
namespace {

using standin::Activity;
using testing::ElementsAre;

class ProcessTest : public SystemTest {
 protected:
  MacProcess process;
};

class OtherToken final : public ActivityToken {};

TEST_F(ProcessTest, ListsEveryArgument) {
  standin::setProcessArguments({"/Applications/A.app/Contents/MacOS/A", "--name", "Büro", ""});
  @autoreleasepool {
    EXPECT_THAT(process.arguments(),
                ElementsAre("/Applications/A.app/Contents/MacOS/A", "--name", "Büro", ""));
  }
}

TEST_F(ProcessTest, EndsWithTheStatus) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(process.exit(2), testing::ExitedWithCode(2), "");
}

TEST_F(ProcessTest, WritesToStandardErrorInOneGo) {
  @autoreleasepool {
    process.writeToStandardError("Größe: \xFF.\n");
  }
  EXPECT_EQ(standin::writtenToStandardError(), "Größe: \xFF.\n");
  EXPECT_EQ(standin::callsOf("-[NSFileHandle writeData:error:]").size(), 1U);
}

TEST_F(ProcessTest, LetsAFailedWriteBe) {
  for (const int failure : {ENOSPC, EPIPE}) {
    standin::failFileHandleWrites(failure);
    @autoreleasepool {
      process.writeToStandardOutput("lost");
      process.writeToStandardError("lost");
      process.writeToStandardError("");
    }
  }
  EXPECT_EQ(standin::writtenToStandardOutput(), "");
  EXPECT_EQ(standin::writtenToStandardError(), "");
}

TEST_F(ProcessTest, RunsAnActivityUntilItIsEnded) {
  @autoreleasepool {
    const auto options = activityUserInitiated | activityLatencyCritical;
    const auto token = process.beginActivity(options, "Sharing the screen");
    EXPECT_THAT(standin::runningActivities(), ElementsAre(Activity{options, "Sharing the screen"}));
    process.endActivity(token);
    EXPECT_THAT(standin::runningActivities(), ElementsAre());
  }
}

TEST_F(ProcessTest, EndsAnActivityOnlyOnce) {
  @autoreleasepool {
    const auto token = process.beginActivity(activityUserInitiated, "once");
    process.endActivity(token);
    process.endActivity(token);
    process.endActivity(nullptr);
    process.endActivity(std::make_shared<OtherToken>());
  }
  EXPECT_EQ(standin::callsOf("-[NSProcessInfo endActivity:]").size(), 1U);
}

TEST_F(ProcessTest, EndsAnActivityWhoseTokenIsLetGo) {
  @autoreleasepool {
    (void)process.beginActivity(activityUserInitiated, "forgotten");
  }
  EXPECT_THAT(standin::runningActivities(), ElementsAre());
}

TEST_F(ProcessTest, ComparesTheVersionOfTheSystem) {
  @autoreleasepool {
    standin::setSystemVersion(13, 4, 1);
    EXPECT_TRUE(process.isMacOSAtLeast(13, 0));
    EXPECT_TRUE(process.isMacOSAtLeast(13, 4));
    EXPECT_TRUE(process.isMacOSAtLeast(12, 9));
    EXPECT_FALSE(process.isMacOSAtLeast(13, 5));
    EXPECT_FALSE(process.isMacOSAtLeast(14, 0));
  }
}

TEST_F(ProcessTest, WritesToStandardOutputInOneGo) {
  @autoreleasepool {
    process.writeToStandardOutput("enabled\n");
  }
  EXPECT_EQ(standin::writtenToStandardOutput(), "enabled\n");
  EXPECT_EQ(standin::writtenToStandardError(), "");
  EXPECT_EQ(standin::callsOf("-[NSFileHandle writeData:error:]").size(), 1U);
}

TEST_F(ProcessTest, KnowsItsUser) { EXPECT_EQ(process.userID(), getuid()); }

TEST_F(ProcessTest, RunsATaskAndReturnsItsStatus) {
  standin::setTaskRunner([](const standin::Task&) { return standin::TaskOutcome{.status = 37}; });
  @autoreleasepool {
    EXPECT_EQ(process.runTask("/bin/launchctl", {"bootout", "gui/501", "/a b/ü.plist"}), 37);
  }
  EXPECT_THAT(standin::launchedTasks(),
              ElementsAre(standin::Task{"/bin/launchctl", {"bootout", "gui/501", "/a b/ü.plist"}}));
}

TEST_F(ProcessTest, PassesOnThatATaskCannotBeLaunched) {
  standin::setTaskRunner(
      [](const standin::Task&) { return standin::TaskOutcome{.launchErrno = ENOENT}; });
  @autoreleasepool {
    try {
      process.runTask("/bin/launchctl", {});
      FAIL() << "launched";
    } catch (const Error& error) {
      EXPECT_EQ(error.domain, "NSCocoaErrorDomain");
      EXPECT_EQ(error.code, NSFileNoSuchFileError);
    }
  }
}

}  // namespace
}  // namespace quorvin
