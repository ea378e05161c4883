#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/linux/ui/NotificationCenter.h"

namespace quorvin {
namespace {

class Sender final : public NotificationSender {};

class NotificationCenterTest : public testing::Test {
 protected:
  using Told = std::vector<std::string>;

  std::shared_ptr<NotificationObserver> observe(
      const std::string& observer, std::function<void()> then = [] {}) {
    return center.addObserver(Notification::windowDidBecomeKey, nullptr,
                              [this, observer, then = std::move(then)] {
                                told.push_back(observer);
                                then();
                              });
  }

  void post() { center.post(Notification::windowDidBecomeKey, sender); }

  LinuxNotificationCenter center;
  Sender sender;
  Told told;
};

TEST_F(NotificationCenterTest, TellsNobodyWhenNobodyObserves) {
  post();
  EXPECT_TRUE(told.empty());
}

TEST_F(NotificationCenterTest, TellsObserversInTheOrderTheyCame) {
  const auto first = observe("first");
  const auto second = observe("second");
  const auto third = observe("third");
  post();
  EXPECT_EQ(told, (Told{"first", "second", "third"}));
}

TEST_F(NotificationCenterTest, TellsOnlyOfTheNameThatWasAskedFor) {
  const auto observer = observe("key");
  center.post(Notification::windowDidMiniaturize, sender);
  EXPECT_TRUE(told.empty());
  post();
  EXPECT_EQ(told, Told{"key"});
}

TEST_F(NotificationCenterTest, TellsOnlyOfTheSenderThatWasAskedFor) {
  Sender other;
  const auto observer = center.addObserver(Notification::windowDidBecomeKey, &other,
                                           [this] { told.emplace_back("other"); });
  post();
  EXPECT_TRUE(told.empty());
  center.post(Notification::windowDidBecomeKey, other);
  EXPECT_EQ(told, Told{"other"});
}

TEST_F(NotificationCenterTest, TellsOfEverySenderWhenNoneWasAskedFor) {
  const auto observer = observe("any");
  const Sender other;
  post();
  center.post(Notification::windowDidBecomeKey, other);
  EXPECT_EQ(told, (Told{"any", "any"}));
}

TEST_F(NotificationCenterTest, KeepsAnObserverThatNobodyElseKeeps) {
  observe("kept").reset();
  post();
  EXPECT_EQ(told, Told{"kept"});
}

TEST_F(NotificationCenterTest, TellsARemovedObserverNothingAndForgetsItsHandler) {
  auto held = std::make_shared<int>(1);
  const auto observer = observe("removed", [held] {});
  const auto other = observe("other");
  EXPECT_EQ(held.use_count(), 2);
  center.removeObserver(observer);
  post();
  EXPECT_EQ(told, Told{"other"});
  EXPECT_EQ(held.use_count(), 1);
}

TEST_F(NotificationCenterTest, IgnoresTheRemovalOfWhatIsNotSubscribed) {
  const auto observer = observe("removed");
  center.removeObserver(observer);
  center.removeObserver(observer);
  center.removeObserver(nullptr);
  LinuxNotificationCenter another;
  const auto stranger = another.addObserver(Notification::windowDidBecomeKey, nullptr,
                                            [this] { told.emplace_back("stranger"); });
  center.removeObserver(stranger);
  another.post(Notification::windowDidBecomeKey, sender);
  EXPECT_EQ(told, Told{"stranger"});
}

TEST_F(NotificationCenterTest, LetsAnObserverRemoveItselfWhileItIsTold) {
  std::shared_ptr<NotificationObserver> observer;
  auto held = std::make_shared<std::string>("still here");
  observer = observe("once", [&, held] {
    center.removeObserver(observer);
    observer.reset();
    told.push_back(*held);
  });
  const auto other = observe("other");
  post();
  post();
  EXPECT_EQ(told, (Told{"once", "still here", "other", "other"}));
  EXPECT_EQ(held.use_count(), 1);
}

TEST_F(NotificationCenterTest, TellsNothingMoreToAnObserverThatIsRemovedMeanwhile) {
  std::shared_ptr<NotificationObserver> later;
  const auto first = observe("first", [&] { center.removeObserver(later); });
  later = observe("later");
  post();
  EXPECT_EQ(told, Told{"first"});
}

TEST_F(NotificationCenterTest, TellsAnObserverThatIsAddedMeanwhileFromTheNextTimeOn) {
  std::shared_ptr<NotificationObserver> added;
  const auto first = observe("first", [&] {
    if (added == nullptr) added = observe("added");
  });
  post();
  EXPECT_EQ(told, Told{"first"});
  post();
  EXPECT_EQ(told, (Told{"first", "first", "added"}));
}

TEST_F(NotificationCenterTest, LetsAnObserverPostAgain) {
  const auto outer = observe("outer", [&] {
    if (told.size() < 3) post();
  });
  const auto last = observe("last");
  post();
  EXPECT_EQ(told, (Told{"outer", "outer", "outer", "last", "last", "last"}));
}

}  // namespace
}  // namespace quorvin
