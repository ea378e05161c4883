#pragma once

#include <memory>

#include "platform/Application.h"
#include "tests/contract/Contract.h"

namespace quorvin::contract {

// The notification center, with two windows that something happens to.
class NotificationCenterWorld {
 public:
  NotificationCenterWorld() = default;
  NotificationCenterWorld(const NotificationCenterWorld&) = delete;
  NotificationCenterWorld& operator=(const NotificationCenterWorld&) = delete;
  virtual ~NotificationCenterWorld() = default;

  virtual NotificationCenter& center() = 0;
  virtual NotificationSender& first() = 0;
  virtual NotificationSender& second() = 0;
  // Lets the sender have sent this, and everybody have heard of it.
  virtual void post(Notification name, NotificationSender& sender) = 0;
};

class NotificationCenterContract : public Contract<NotificationCenterWorld> {
 protected:
  NotificationCenter& center() { return world->center(); }
  NotificationSender& first = world->first();
  NotificationSender& second = world->second();
};

}  // namespace quorvin::contract
