#pragma once

#import <Foundation/Foundation.h>

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

}  // namespace quorvin
