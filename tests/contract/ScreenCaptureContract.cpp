#include "tests/contract/ScreenCaptureContract.h"

#include <algorithm>
#include <set>

#include "tests/contract/Record.h"

namespace quorvin::contract {

void ShareableContentContract::SetUp() {
  if (const auto reason = world->missingPermission()) GTEST_SKIP() << *reason;
}

ShareableContentContract::Answer ShareableContentContract::ask() {
  const Record<Answer> answers;
  world->screenCapture().getShareableContent(true, true, [=](auto content, const auto& error) {
    answers.add({std::move(content), error});
  });
  EXPECT_TRUE(world->runUntil([&] { return answers.size() == 1; }));
  world->settle();
  EXPECT_EQ(answers.size(), 1U);
  return answers.size() == 0 ? Answer{} : answers.all()[0];
}

TEST_P(ShareableContentContract, ListsTheDisplays) {
  const auto answer = ask();
  EXPECT_EQ(answer.error, std::nullopt);
  ASSERT_NE(answer.content, nullptr);
  std::set<DisplayID> identifiers;
  for (const auto& display : answer.content->displays) {
    EXPECT_GT(display->widthPt(), 0);
    EXPECT_GT(display->heightPt(), 0);
    identifiers.insert(display->displayID());
  }
  EXPECT_FALSE(identifiers.empty());
  EXPECT_EQ(identifiers.size(), answer.content->displays.size());
}

TEST_P(ShareableContentContract, ListsTheSameDisplaysEachTime) {
  const auto first = ask().content;
  const auto second = ask().content;
  ASSERT_NE(first, nullptr);
  ASSERT_NE(second, nullptr);
  EXPECT_TRUE(std::ranges::equal(
      first->displays, second->displays, {},
      [](const auto& display) { return display->displayID(); },
      [](const auto& display) { return display->displayID(); }));
}

TEST_P(ShareableContentContract, NamesAMainScreenThatIsListed) {
  const auto mainScreen = world->screenCapture().mainScreenNumber();
  const auto content = ask().content;
  ASSERT_NE(content, nullptr);
  const auto listed = std::ranges::count_if(
      content->displays, [&](const auto& display) { return display->displayID() == mainScreen; });
  EXPECT_EQ(listed, mainScreen ? 1 : 0);
}

TEST_P(HiddenContentContract, IsAnErrorAndNoContent) {
  world->hideContent();
  const auto answer = ask();
  EXPECT_EQ(answer.content, nullptr);
  ASSERT_TRUE(answer.error);
  EXPECT_FALSE(answer.error->domain.empty());
  EXPECT_FALSE(answer.error->localizedDescription.empty());
}

}  // namespace quorvin::contract
