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
};

}  // namespace quorvin
