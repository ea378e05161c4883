#include <memory>
#include <optional>
#include <string>

#include "tests/contract/PermissionsContract.h"
#include "tests/fakes/FakeSettings.h"

namespace quorvin::contract {
namespace {

class FakePermissionsWorld final : public PermissionsWorld {
 public:
  void decide(bool screenRecording, bool accessibility) override {
    fake.screenRecording = screenRecording;
    fake.accessibility = accessibility;
  }
  void nameComputer(const std::optional<std::string>& name) override { fake.name = name; }
  Permissions& permissions() override { return fake; }

 private:
  fakes::FakePermissions fake;
};

const auto fakePermissions =
    testing::Values(WorldKind<PermissionsWorld>{"Variables", [] {
                                                  return std::make_unique<FakePermissionsWorld>();
                                                }});

}  // namespace

INSTANTIATE_TEST_SUITE_P(Fake, PermissionsContract, fakePermissions, nameOfWorld);
INSTANTIATE_TEST_SUITE_P(Fake, SeparatePermissionsContract, fakePermissions, nameOfWorld);
INSTANTIATE_TEST_SUITE_P(Fake, NamelessComputerContract, fakePermissions, nameOfWorld);

}  // namespace quorvin::contract
