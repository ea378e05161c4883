#include <memory>

#include "tests/contract/NotificationCenterContract.h"
#include "tests/fakes/FakeApplication.h"

namespace quorvin::contract {
namespace {

class FakeNotificationCenterWorld final : public NotificationCenterWorld {
 public:
  NotificationCenter& center() override { return fake; }
  NotificationSender& first() override { return firstWindow; }
  NotificationSender& second() override { return secondWindow; }
  void post(Notification name, NotificationSender& sender) override { fake.post(name, &sender); }

 private:
  fakes::FakeNotificationCenter fake;
  fakes::FakeWindow firstWindow;
  fakes::FakeWindow secondWindow;
};

}  // namespace

INSTANTIATE_TEST_SUITE_P(Fake, NotificationCenterContract,
                         testing::Values(WorldKind<NotificationCenterWorld>{
                             "List",
                             [] {
                               return std::make_unique<FakeNotificationCenterWorld>();
                             }}),
                         nameOfWorld);

}  // namespace quorvin::contract
