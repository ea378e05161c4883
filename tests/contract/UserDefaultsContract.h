#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

#include "platform/UserDefaults.h"
#include "tests/contract/Contract.h"

namespace quorvin::contract {

using Setting = std::variant<bool, std::int64_t, std::string>;

// The stored settings, empty at first, as another program writes them.
class UserDefaultsWorld {
 public:
  UserDefaultsWorld() = default;
  UserDefaultsWorld(const UserDefaultsWorld&) = delete;
  UserDefaultsWorld& operator=(const UserDefaultsWorld&) = delete;
  virtual ~UserDefaultsWorld() = default;

  virtual UserDefaults& userDefaults() = 0;
  virtual void store(const std::string& key, const Setting& setting) = 0;
  virtual void remove(const std::string& key) = 0;
};

// Settings that are stored as what they are read as.
class UserDefaultsContract : public Contract<UserDefaultsWorld> {
 protected:
  bool boolFor(const std::string& key) { return world->userDefaults().boolForKey(key); }
  std::optional<std::string> stringFor(const std::string& key) {
    return world->userDefaults().stringForKey(key);
  }
};

// Settings that are read as something else than they were stored as.
class UserDefaultsCoercionContract : public UserDefaultsContract {};

}  // namespace quorvin::contract
