#include <memory>

#include "platform/linux/ui/NotificationCenter.h"
#include "tests/contract/NotificationCenterContract.h"

namespace quorvin::contract {
namespace {

class PlainSender final : public NotificationSender {};

class LinuxNotificationCenterWorld final : public NotificationCenterWorld {
 public:
  NotificationCenter& center() override { return linuxCenter; }
  NotificationSender& first() override { return firstSender; }
  NotificationSender& second() override { return secondSender; }
  void post(Notification name, NotificationSender& sender) override {
    linuxCenter.post(name, sender);
  }

 private:
  LinuxNotificationCenter linuxCenter;
  PlainSender firstSender;
  PlainSender secondSender;
};

}  // namespace

INSTANTIATE_TEST_SUITE_P(Linux, NotificationCenterContract,
                         testing::Values(WorldKind<NotificationCenterWorld>{
                             "List",
                             [] {
                               return std::make_unique<LinuxNotificationCenterWorld>();
                             }}),
                         nameOfWorld);

}  // namespace quorvin::contract
