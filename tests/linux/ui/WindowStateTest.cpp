#include <gtest/gtest.h>

#include <vector>

#include "platform/linux/ui/WindowView.h"

namespace quorvin {
namespace {

using Names = std::vector<Notification>;

constexpr WindowState notShown;
constexpr WindowState active{
    .isShown = true, .isIconified = false, .hasFocus = true, .isUncovered = true};

WindowState changed(WindowState state, bool WindowState::*part, bool value) {
  state.*part = value;
  return state;
}

TEST(WindowState, IsNeitherVisibleNorSeenBeforeItIsShown) {
  EXPECT_FALSE(notShown.isVisible());
  EXPECT_FALSE(notShown.isSeen());
  const auto uncovered = changed(notShown, &WindowState::isUncovered, true);
  EXPECT_FALSE(uncovered.isSeen());
}

TEST(WindowState, IsNeitherVisibleNorSeenWhileMinimised) {
  const auto minimised = changed(active, &WindowState::isIconified, true);
  EXPECT_FALSE(minimised.isVisible());
  EXPECT_FALSE(minimised.isSeen());
}

TEST(WindowState, IsVisibleButNotSeenWhileCovered) {
  const auto covered = changed(active, &WindowState::isUncovered, false);
  EXPECT_TRUE(covered.isVisible());
  EXPECT_FALSE(covered.isSeen());
}

TEST(WindowState, TellsNothingWithoutAChange) {
  EXPECT_TRUE(windowNotifications(active, active).empty());
  EXPECT_TRUE(applicationNotifications(active, active).empty());
}

TEST(WindowState, TellsThatTheFocusCameAndOfTheApplicationThatItWent) {
  const auto inactive = changed(active, &WindowState::hasFocus, false);
  EXPECT_EQ(windowNotifications(inactive, active), Names{Notification::windowDidBecomeKey});
  EXPECT_EQ(applicationNotifications(inactive, active),
            Names{Notification::applicationDidBecomeActive});
  EXPECT_TRUE(windowNotifications(active, inactive).empty());
  EXPECT_EQ(applicationNotifications(active, inactive),
            Names{Notification::applicationDidResignActive});
}

TEST(WindowState, TellsThatItIsMinimisedAndNotAnyMore) {
  const auto covered = changed(active, &WindowState::isUncovered, false);
  const auto minimised = changed(covered, &WindowState::isIconified, true);
  EXPECT_EQ(windowNotifications(covered, minimised), Names{Notification::windowDidMiniaturize});
  EXPECT_EQ(windowNotifications(minimised, covered), Names{Notification::windowDidDeminiaturize});
  EXPECT_TRUE(applicationNotifications(covered, minimised).empty());
}

TEST(WindowState, TellsThatItCannotBeSeenAnyMoreAndThatItCan) {
  for (const auto part :
       {&WindowState::isShown, &WindowState::isUncovered, &WindowState::isIconified}) {
    const auto unseen = changed(active, part, part == &WindowState::isIconified);
    for (const auto& [former, now] : {std::pair(active, unseen), std::pair(unseen, active)}) {
      const auto ofWindow = windowNotifications(former, now);
      ASSERT_FALSE(ofWindow.empty());
      EXPECT_EQ(ofWindow.back(), Notification::windowDidChangeOcclusionState);
      EXPECT_EQ(applicationNotifications(former, now),
                Names{Notification::applicationDidChangeOcclusionState});
    }
  }
}

TEST(WindowState, DoesNotTellThatACoverCameOverWhatCannotBeSeen) {
  const auto minimised = changed(active, &WindowState::isIconified, true);
  const auto covered = changed(minimised, &WindowState::isUncovered, false);
  EXPECT_TRUE(windowNotifications(minimised, covered).empty());
  EXPECT_TRUE(applicationNotifications(minimised, covered).empty());
}

}  // namespace
}  // namespace quorvin
