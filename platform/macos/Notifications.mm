#import "platform/macos/Notifications.h"

#import <AppKit/AppKit.h>

#include <utility>

#include "platform/Fatal.h"

namespace quorvin {
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
  fatalError("A notification has no name.");
}

id objectOf(NotificationSender* sender) {
  if (sender == nullptr) return nil;
  const auto* own = dynamic_cast<const NotificationObject*>(sender);
  id object = own == nullptr ? nil : own->notificationObject();
  // nil would let in what anybody sends.
  if (object == nil) fatalError("An observer was added to a sender that is not there.");
  return object;
}

class MacNotificationObserver final : public NotificationObserver {
 public:
  explicit MacNotificationObserver(id<NSObject> token) : handle(token) {}

  [[nodiscard]] id<NSObject> token() const { return handle; }

 private:
  id<NSObject> handle;
};

}  // namespace

std::shared_ptr<NotificationObserver> MacNotificationCenter::addObserver(
    Notification name, NotificationSender* sender, std::function<void()> handler) {
  const auto kept = std::make_shared<const std::function<void()>>(std::move(handler));
  return std::make_shared<MacNotificationObserver>([NSNotificationCenter.defaultCenter
      addObserverForName:nameOf(name)
                  object:objectOf(sender)
                   queue:NSOperationQueue.mainQueue
              usingBlock:^(NSNotification* /*notification*/) {
                (*kept)();
              }]);
}

void MacNotificationCenter::removeObserver(const std::shared_ptr<NotificationObserver>& observer) {
  const auto* own = dynamic_cast<const MacNotificationObserver*>(observer.get());
  if (own == nullptr) fatalError("An observer of another maker was to be removed.");
  [NSNotificationCenter.defaultCenter removeObserver:own->token()];
}

}  // namespace quorvin
