#pragma once

#include <optional>
#include <string>

#include "platform/UserDefaults.h"

namespace quorvin {

// NSUserDefaults.standardUserDefaults.
class MacUserDefaults final : public UserDefaults {
 public:
  [[nodiscard]] bool boolForKey(const std::string& key) override;
  [[nodiscard]] std::optional<std::string> stringForKey(const std::string& key) override;
  void setBool(bool value, const std::string& key) override;
  void setString(const std::string& value, const std::string& key) override;
  void removeObject(const std::string& key) override;
  void synchronize() override;
};

}  // namespace quorvin
