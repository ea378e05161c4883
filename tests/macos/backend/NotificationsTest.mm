#import "platform/macos/Notifications.h"

#include <gmock/gmock.h>

#include <memory>
#include <utility>
#include <vector>

#import "platform/macos/Application.h"
#include "tests/macos/backend/ApplicationFixture.h"

namespace quorvin {
namespace {

class ForeignSender final : public NotificationSender {};
class ForeignObserver final : public NotificationObserver {};

class NotificationsTest : public ApplicationFixture {
 protected:
  void SetUp() override {
    ApplicationFixture::SetUp();
    [NSApplication sharedApplication];
    @autoreleasepool {
      nsWindow = makeNSWindow();
    }
    window = std::make_unique<MacWindow>(nsWindow);
  }
  void TearDown() override {
    for (const auto& observer : std::exchange(observers, {})) center.removeObserver(observer);
    EXPECT_EQ(standin::notificationObserverCount(), 0U);
    window.reset();
    nsWindow = nil;
    ApplicationFixture::TearDown();
  }

  void observe(Notification name, NotificationSender* sender) {
    observers.push_back(center.addObserver(name, sender, [this] {
      EXPECT_TRUE(standin::isMainThread());
      ++told;
    }));
  }
  static void post(NSNotificationName name, id sender) {
    @autoreleasepool {
      [NSNotificationCenter.defaultCenter postNotificationName:name object:sender];
    }
    standin::settle();
  }

  MacApplication application;
  MacNotificationCenter center;
  NSWindow* nsWindow;
  std::unique_ptr<MacWindow> window;
  std::vector<std::shared_ptr<NotificationObserver>> observers;
  int told = 0;
};

TEST_F(NotificationsTest, HearsEachNotificationByItsName) {
  const std::vector<std::pair<Notification, NSNotificationName>> names = {
      {Notification::applicationDidBecomeActive, NSApplicationDidBecomeActiveNotification},
      {Notification::applicationDidResignActive, NSApplicationDidResignActiveNotification},
      {Notification::applicationDidHide, NSApplicationDidHideNotification},
      {Notification::applicationDidUnhide, NSApplicationDidUnhideNotification},
      {Notification::applicationDidChangeOcclusionState,
       NSApplicationDidChangeOcclusionStateNotification},
      {Notification::windowDidBecomeKey, NSWindowDidBecomeKeyNotification},
      {Notification::windowDidMiniaturize, NSWindowDidMiniaturizeNotification},
      {Notification::windowDidDeminiaturize, NSWindowDidDeminiaturizeNotification},
      {Notification::windowDidChangeOcclusionState, NSWindowDidChangeOcclusionStateNotification}};
  for (const auto& [notification, name] : names) {
    observe(notification, nullptr);
    for (const auto& other : names) post(other.second, nsWindow);
    EXPECT_EQ(std::exchange(told, 0), 1);
    center.removeObserver(observers.back());
    observers.clear();
  }
}

TEST_F(NotificationsTest, HearsOnlyTheWindowThatItWasToldOf) {
  observe(Notification::windowDidBecomeKey, window.get());
  NSWindow* other = makeNSWindow();
  post(NSWindowDidBecomeKeyNotification, other);
  EXPECT_EQ(told, 0);
  post(NSWindowDidBecomeKeyNotification, nsWindow);
  EXPECT_EQ(told, 1);
}

TEST_F(NotificationsTest, HearsOnlyTheApplicationThatItWasToldOf) {
  observe(Notification::applicationDidHide, &application);
  post(NSApplicationDidHideNotification, nsWindow);
  EXPECT_EQ(told, 0);
  post(NSApplicationDidHideNotification, NSApp);
  EXPECT_EQ(told, 1);
}

TEST_F(NotificationsTest, HearsEverybodyWithoutASender) {
  observe(Notification::applicationDidHide, nullptr);
  post(NSApplicationDidHideNotification, NSApp);
  post(NSApplicationDidHideNotification, nsWindow);
  EXPECT_EQ(told, 2);
}

TEST_F(NotificationsTest, HearsOnTheMainThreadWhatIsPostedElsewhere) {
  observe(Notification::applicationDidHide, nullptr);
  standin::onSystemThread([] {
    @autoreleasepool {
      [NSNotificationCenter.defaultCenter postNotificationName:NSApplicationDidHideNotification
                                                        object:nil];
    }
  });
  standin::settle();
  EXPECT_EQ(told, 1);
}

TEST_F(NotificationsTest, HearsNothingAfterItsRemoval) {
  observe(Notification::applicationDidHide, nullptr);
  center.removeObserver(observers.back());
  post(NSApplicationDidHideNotification, NSApp);
  EXPECT_EQ(told, 0);
  observers.clear();
}

TEST_F(NotificationsTest, KeepsTheHandlerUntilItsRemoval) {
  auto held = std::make_shared<int>();
  const std::weak_ptr<int> weak = held;
  @autoreleasepool {
    observers.push_back(
        center.addObserver(Notification::applicationDidHide, nullptr, [held] { ++*held; }));
    held.reset();
    EXPECT_FALSE(weak.expired());
    center.removeObserver(observers.back());
    observers.clear();
  }
  EXPECT_TRUE(weak.expired());
}

TEST_F(NotificationsTest, ListensToNobodyWhoIsNotThere) {
  ForeignSender foreign;
  EXPECT_DEATH((void)center.addObserver(Notification::applicationDidHide, &foreign, [] {}),
               "not there");
  standin::resetAppKit();
  EXPECT_DEATH((void)center.addObserver(Notification::applicationDidHide, &application, [] {}),
               "not there");
  @autoreleasepool {
    nsWindow = nil;
  }
  EXPECT_DEATH((void)center.addObserver(Notification::windowDidBecomeKey, window.get(), [] {}),
               "not there");
}

TEST_F(NotificationsTest, KnowsNoFurtherNotifications) {
  EXPECT_DEATH((void)center.addObserver(static_cast<Notification>(99), nullptr, [] {}), "no name");
}

TEST_F(NotificationsTest, RemovesNoObserverOfAnotherMaker) {
  EXPECT_DEATH(center.removeObserver(std::make_shared<ForeignObserver>()), "another maker");
}

}  // namespace
}  // namespace quorvin
