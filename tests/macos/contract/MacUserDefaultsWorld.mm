#import <Foundation/Foundation.h>

#include <memory>
#include <set>
#include <string>

#include "platform/macos/Bridging.h"
#include "platform/macos/UserDefaults.h"
#include "tests/contract/UserDefaultsContract.h"

namespace quorvin::contract {
namespace {

id toObject(const Setting& setting) {
  if (const auto* truth = std::get_if<bool>(&setting)) return [NSNumber numberWithBool:*truth];
  if (const auto* number = std::get_if<std::int64_t>(&setting)) {
    return [NSNumber numberWithLongLong:*number];
  }
  return toNSString(std::get<std::string>(setting));
}

// The test program's own settings, left as empty as they were.
class MacUserDefaultsWorld final : public UserDefaultsWorld {
 public:
  ~MacUserDefaultsWorld() override {
    for (const auto& key : std::set(stored)) remove(key);
  }

  UserDefaults& userDefaults() override { return macUserDefaults; }
  void store(const std::string& key, const Setting& setting) override {
    stored.insert(key);
    [NSUserDefaults.standardUserDefaults setObject:toObject(setting) forKey:toNSString(key)];
  }
  void remove(const std::string& key) override {
    [NSUserDefaults.standardUserDefaults removeObjectForKey:toNSString(key)];
  }

 private:
  std::set<std::string> stored;
  MacUserDefaults macUserDefaults;
};

const auto foundation = testing::Values(WorldKind<UserDefaultsWorld>{
    "Foundation", [] { return std::make_unique<MacUserDefaultsWorld>(); }});

}  // namespace

INSTANTIATE_TEST_SUITE_P(Mac, UserDefaultsContract, foundation, nameOfWorld);
INSTANTIATE_TEST_SUITE_P(Mac, UserDefaultsCoercionContract, foundation, nameOfWorld);

}  // namespace quorvin::contract
