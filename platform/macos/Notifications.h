#pragma once

#import <Foundation/Foundation.h>

#include <functional>
#include <memory>

#include "platform/Application.h"

namespace quorvin {

// A sender of notifications that stands for an object of AppKit.
class NotificationObject {
 public:
  // As whom AppKit posts; nil once that is gone.
  [[nodiscard]] virtual id _Nullable notificationObject() const = 0;

 protected:
  NotificationObject() = default;
  ~NotificationObject() = default;
};

// The default notification center. Main thread.
class MacNotificationCenter final : public NotificationCenter {
 public:
  // The sender must be the application or a window of this back end, and be there.
  [[nodiscard]] std::shared_ptr<NotificationObserver> addObserver(
      Notification name, NotificationSender* _Nullable sender,
      std::function<void()> handler) override;
  void removeObserver(const std::shared_ptr<NotificationObserver>& observer) override;
};

}  // namespace quorvin
