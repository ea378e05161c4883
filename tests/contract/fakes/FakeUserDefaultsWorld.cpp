#include <memory>
#include <string>

#include "tests/contract/UserDefaultsContract.h"
#include "tests/fakes/FakeSettings.h"

namespace quorvin::contract {
namespace {

class FakeUserDefaultsWorld final : public UserDefaultsWorld {
 public:
  UserDefaults& userDefaults() override { return fake; }
  void store(const std::string& key, const Setting& setting) override {
    if (const auto* truth = std::get_if<bool>(&setting)) fake.booleans[key] = *truth;
    if (const auto* text = std::get_if<std::string>(&setting)) fake.strings[key] = *text;
  }
  void remove(const std::string& key) override {
    fake.booleans.erase(key);
    fake.strings.erase(key);
  }

 private:
  fakes::FakeUserDefaults fake;
};

}  // namespace

INSTANTIATE_TEST_SUITE_P(Fake, UserDefaultsContract,
                         testing::Values(WorldKind<UserDefaultsWorld>{
                             "Maps",
                             [] {
                               return std::make_unique<FakeUserDefaultsWorld>();
                             }}),
                         nameOfWorld);
// The fake keeps truth values and text apart.
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(UserDefaultsCoercionContract);

}  // namespace quorvin::contract
