#pragma once

#include <functional>
#include <memory>

#include "platform/Application.h"

namespace quorvin {

// The default notification center. Main thread.
class MacNotificationCenter final : public NotificationCenter {
 public:
  // The sender must be the application or a window of this back end, and be there.
  [[nodiscard]] std::shared_ptr<NotificationObserver> addObserver(
      Notification name, NotificationSender* sender, std::function<void()> handler) override;
  void removeObserver(const std::shared_ptr<NotificationObserver>& observer) override;
};

}  // namespace quorvin
