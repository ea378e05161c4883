#include "platform/linux/ui/NotificationCenter.h"

#include <algorithm>
#include <utility>

namespace quorvin {

class LinuxNotificationCenter::Observer final : public NotificationObserver {
 public:
  Observer(Notification name, const NotificationSender* sender, std::function<void()> handler)
      : name(name), sender(sender), handler(std::move(handler)) {}

  [[nodiscard]] bool wants(Notification posted, const NotificationSender& from) const {
    return isSubscribed && posted == name && (sender == nullptr || sender == &from);
  }
  void notify() const { handler(); }
  void unsubscribe() { isSubscribed = false; }

 private:
  Notification name;
  const NotificationSender* sender;  // compared only; null stands for any
  std::function<void()> handler;
  bool isSubscribed = true;
};

std::shared_ptr<NotificationObserver> LinuxNotificationCenter::addObserver(
    Notification name, NotificationSender* sender, std::function<void()> handler) {
  return observers.emplace_back(std::make_shared<Observer>(name, sender, std::move(handler)));
}

void LinuxNotificationCenter::removeObserver(
    const std::shared_ptr<NotificationObserver>& observer) {
  const auto entry = std::ranges::find(observers, observer);
  if (entry == observers.end()) return;
  // What the handler holds may call back here when it goes, so the observer leaves the list first.
  const auto removed = std::move(*entry);
  observers.erase(entry);
  removed->unsubscribe();
}

void LinuxNotificationCenter::post(Notification name, const NotificationSender& sender) {
  const auto told = observers;  // which also keeps a handler that removes itself until it is done
  for (const auto& observer : told) {
    if (observer->wants(name, sender)) observer->notify();
  }
}

}  // namespace quorvin
