#include "platform/linux/ui/NotificationCenter.h"

#include <algorithm>
#include <utility>

namespace quorvin {

class LinuxNotificationCenter::Observer final : public NotificationObserver {
 public:
  Observer(Notification name, const NotificationSender* sender, std::function<void()> handler)
      : name(name),
        sender(sender),
        handler(std::make_shared<const std::function<void()>>(std::move(handler))) {}

  [[nodiscard]] bool wants(Notification posted, const NotificationSender& from) const {
    return handler != nullptr && posted == name && (sender == nullptr || sender == &from);
  }
  void notify() const {
    const auto running = handler;  // which may unsubscribe
    (*running)();
  }
  // Whoever keeps the observer does not keep what its handler holds.
  void unsubscribe() { handler.reset(); }

 private:
  Notification name;
  const NotificationSender* sender;                      // compared only; null stands for any
  std::shared_ptr<const std::function<void()>> handler;  // null once unsubscribed
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
  const auto told = observers;
  for (const auto& observer : told) {
    if (observer->wants(name, sender)) observer->notify();
  }
}

}  // namespace quorvin
