#pragma once

#include <optional>
#include <string>

#include "platform/UserDefaults.h"

namespace quorvin {

// Settings in the group [defaults] of a key file (the format of GLib's GKeyFile). Every value is
// text there: numbers read as they are written, and "YES", "true" and "1" in any case are true. A
// file that is missing, unreadable, malformed or larger than a mebibyte holds no keys.
class LinuxUserDefaults final : public UserDefaults {
 public:
  explicit LinuxUserDefaults(std::string path);

  // com.quorvin.support/defaults.ini under the user's configuration directory
  // (https://specifications.freedesktop.org/basedir-spec/latest/).
  [[nodiscard]] static std::string pathFromEnvironment();

  [[nodiscard]] bool boolForKey(const std::string& key) override;
  [[nodiscard]] std::optional<std::string> stringForKey(const std::string& key) override;

 private:
  std::string path;
};

}  // namespace quorvin
