#include "tests/contract/NotificationCenterContract.h"

#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "tests/contract/Record.h"

namespace quorvin::contract {
namespace {

using Names = std::vector<std::string>;

constexpr Notification allNotifications[] = {
    Notification::applicationDidBecomeActive,
    Notification::applicationDidResignActive,
    Notification::applicationDidHide,
    Notification::applicationDidUnhide,
    Notification::applicationDidChangeOcclusionState,
    Notification::windowDidBecomeKey,
    Notification::windowDidMiniaturize,
    Notification::windowDidDeminiaturize,
    Notification::windowDidChangeOcclusionState,
};

}  // namespace

TEST_P(NotificationCenterContract, TellsOfNotificationsOfTheNameAsked) {
  for (const auto name : allNotifications) {
    const Record<Notification> heard;
    Notification posted{};
    const auto observer = center().addObserver(name, nullptr, [&] { heard.add(posted); });
    for (const auto other : allNotifications) {
      posted = other;
      world->post(other, first);
    }
    EXPECT_EQ(heard.all(), std::vector{name});
    center().removeObserver(observer);
  }
}

TEST_P(NotificationCenterContract, TellsOfNotificationsOfTheSenderAsked) {
  const Record<std::string> heard;
  const auto observer = center().addObserver(Notification::windowDidMiniaturize, &second,
                                             [=] { heard.add("second"); });
  world->post(Notification::windowDidMiniaturize, first);
  EXPECT_EQ(heard.all(), Names{});
  world->post(Notification::windowDidMiniaturize, second);
  EXPECT_EQ(heard.all(), Names{"second"});
  center().removeObserver(observer);
}

TEST_P(NotificationCenterContract, TellsOfAnySenderWhenNoneIsAsked) {
  const Record<int> heard;
  const auto observer =
      center().addObserver(Notification::windowDidBecomeKey, nullptr, [=] { heard.add(1); });
  world->post(Notification::windowDidBecomeKey, first);
  world->post(Notification::windowDidBecomeKey, second);
  EXPECT_EQ(heard.size(), 2U);
  center().removeObserver(observer);
}

TEST_P(NotificationCenterContract, TellsEveryObserverOnceOnTheMainThread) {
  const Record<std::thread::id> heard;
  std::vector<std::shared_ptr<NotificationObserver>> observers;
  for (int count = 0; count < 3; ++count) {
    observers.push_back(center().addObserver(Notification::windowDidChangeOcclusionState, &first,
                                             [=] { heard.add(std::this_thread::get_id()); }));
  }
  world->post(Notification::windowDidChangeOcclusionState, first);
  EXPECT_EQ(heard.all(), std::vector(3, std::this_thread::get_id()));
  for (const auto& observer : observers) center().removeObserver(observer);
}

TEST_P(NotificationCenterContract, ForgetsAnObserverThatIsRemovedAndNoOther) {
  const Record<std::string> heard;
  const auto removed =
      center().addObserver(Notification::applicationDidHide, &first, [=] { heard.add("removed"); });
  const auto stays =
      center().addObserver(Notification::applicationDidHide, &first, [=] { heard.add("stays"); });
  center().removeObserver(removed);
  world->post(Notification::applicationDidHide, first);
  EXPECT_EQ(heard.all(), Names{"stays"});
  center().removeObserver(stays);
}

TEST_P(NotificationCenterContract, LetsAHandlerRemoveItself) {
  const Record<std::string> heard;
  const auto own = std::make_shared<std::shared_ptr<NotificationObserver>>();
  *own =
      center().addObserver(Notification::applicationDidBecomeActive, &first,
                           [this, heard, kept = std::string("kept"), watched = std::weak_ptr(own)] {
                             if (const auto observer = watched.lock()) {
                               center().removeObserver(*observer);
                             }
                             heard.add(kept);
                           });
  world->post(Notification::applicationDidBecomeActive, first);
  world->post(Notification::applicationDidBecomeActive, first);
  EXPECT_EQ(heard.all(), Names{"kept"});
}

}  // namespace quorvin::contract
