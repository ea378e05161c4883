#include "tests/contract/ProcessContract.h"

#include <memory>
#include <string>
#include <vector>

namespace quorvin::contract {

using Lines = std::vector<std::string>;

TEST_P(ProcessContract, HasAllItsArguments) {
  const auto arguments = process().arguments();
  EXPECT_EQ(arguments, world->expectedArguments());
  EXPECT_FALSE(arguments.empty());  // the executable's path at least
}

TEST_P(ProcessContract, WritesTheBytesToStandardErrorInOneWrite) {
  const std::string bytes("Büro \U0001F600\0 \xFF\r\n", 15);
  process().writeToStandardError(bytes);
  EXPECT_EQ(world->takeStandardError(), Lines{bytes});
}

TEST_P(ProcessContract, WritesToStandardErrorAtOnceAndInOrder) {
  process().writeToStandardError("no line end");
  EXPECT_EQ(world->takeStandardError(), Lines{"no line end"});
  process().writeToStandardError("first\n");
  process().writeToStandardError("second\n");
  EXPECT_EQ(world->takeStandardError(), (Lines{"first\n", "second\n"}));
}

TEST_P(ProcessContract, WritesALongTextInOneWrite) {
  const std::string text(4000, 'x');
  process().writeToStandardError(text);
  EXPECT_EQ(world->takeStandardError(), Lines{text});
}

TEST_P(ProcessContract, OutlivesTheReaderOfItsStandardError) {
  world->leaveStandardError();
  process().writeToStandardError("lost\n");
  process().writeToStandardError("lost too\n");
}

TEST_P(ActivityContract, TellsTheSystemOfAnActivityUntilItIsEnded) {
  ASSERT_TRUE(world->runUntilActivitiesAre({}));
  const auto token = process().beginActivity(activityUserInitiated | activityLatencyCritical,
                                             "Büro is being shared");
  ASSERT_NE(token, nullptr);
  EXPECT_TRUE(world->runUntilActivitiesAre({"Büro is being shared"}));
  process().endActivity(token);
  EXPECT_TRUE(world->runUntilActivitiesAre({}));
}

TEST_P(ActivityContract, KeepsActivitiesApart) {
  const auto first = process().beginActivity(activityUserInitiated, "first");
  const auto second = process().beginActivity(activityUserInitiated, "second");
  EXPECT_TRUE(world->runUntilActivitiesAre({"first", "second"}));
  process().endActivity(first);
  EXPECT_TRUE(world->runUntilActivitiesAre({"second"}));
  const auto third = process().beginActivity(activityUserInitiated, "third");
  EXPECT_TRUE(world->runUntilActivitiesAre({"second", "third"}));
  process().endActivity(third);
  process().endActivity(second);
  EXPECT_TRUE(world->runUntilActivitiesAre({}));
}

TEST_P(ProcessContract, IsOfAtLeastEveryVersionBeforeOneThatItIsOf) {
  bool isAtLeastFormer = true;
  for (const int major : {10, 11, 12, 13, 14, 15, 26, 1000}) {
    for (const int minor : {0, 1, 15, 99}) {
      const bool isAtLeast = process().isMacOSAtLeast(major, minor);
      EXPECT_FALSE(isAtLeast && !isAtLeastFormer) << major << "." << minor;
      isAtLeastFormer = isAtLeast;
    }
  }
  EXPECT_FALSE(isAtLeastFormer);
}

}  // namespace quorvin::contract
