#import <AppKit/AppKit.h>

#include <memory>

#import "platform/macos/Notifications.h"
#include "tests/contract/NotificationCenterContract.h"

namespace quorvin::contract {
namespace {

NSNotificationName nameOf(Notification notification) {
  switch (notification) {
    case Notification::applicationDidBecomeActive:
      return NSApplicationDidBecomeActiveNotification;
    case Notification::applicationDidResignActive:
      return NSApplicationDidResignActiveNotification;
    case Notification::applicationDidHide:
      return NSApplicationDidHideNotification;
    case Notification::applicationDidUnhide:
      return NSApplicationDidUnhideNotification;
    case Notification::applicationDidChangeOcclusionState:
      return NSApplicationDidChangeOcclusionStateNotification;
    case Notification::windowDidBecomeKey:
      return NSWindowDidBecomeKeyNotification;
    case Notification::windowDidMiniaturize:
      return NSWindowDidMiniaturizeNotification;
    case Notification::windowDidDeminiaturize:
      return NSWindowDidDeminiaturizeNotification;
    case Notification::windowDidChangeOcclusionState:
      return NSWindowDidChangeOcclusionStateNotification;
  }
  return @"";
}

// An object that is as good as a window for this.
class ObjectSender final : public NotificationSender, public NotificationObject {
 public:
  [[nodiscard]] id notificationObject() const override { return object; }

 private:
  NSObject* object = [[NSObject alloc] init];
};

class MacNotificationCenterWorld final : public NotificationCenterWorld {
 public:
  NotificationCenter& center() override { return macCenter; }
  NotificationSender& first() override { return firstSender; }
  NotificationSender& second() override { return secondSender; }
  void post(Notification name, NotificationSender& sender) override {
    @autoreleasepool {
      [NSNotificationCenter.defaultCenter
          postNotificationName:nameOf(name)
                        object:dynamic_cast<ObjectSender&>(sender).notificationObject()];
    }
  }

 private:
  MacNotificationCenter macCenter;
  ObjectSender firstSender;
  ObjectSender secondSender;
};

}  // namespace

INSTANTIATE_TEST_SUITE_P(Mac, NotificationCenterContract,
                         testing::Values(WorldKind<NotificationCenterWorld>{
                             "Foundation",
                             [] { return std::make_unique<MacNotificationCenterWorld>(); }}),
                         nameOfWorld);

}  // namespace quorvin::contract
