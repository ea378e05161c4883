#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "platform/Application.h"

namespace quorvin {

// Notifications between the objects of this process. Observers are called in the order in which
// they were added, on the main thread, to which everything here belongs.
//
// While a notification is being posted, observers may come and go: one that is removed is not
// called any more, one that is added is not told of what is being posted already.
class LinuxNotificationCenter final : public NotificationCenter {
 public:
  [[nodiscard]] std::shared_ptr<NotificationObserver> addObserver(
      Notification name, NotificationSender* sender, std::function<void()> handler) override;
  // Does nothing for an observer that is not subscribed.
  void removeObserver(const std::shared_ptr<NotificationObserver>& observer) override;

  // Calls every observer of that name and sender before it returns.
  void post(Notification name, const NotificationSender& sender);

 private:
  class Observer;

  std::vector<std::shared_ptr<Observer>> observers;
};

}  // namespace quorvin
