#pragma once

#include <map>
#include <optional>
#include <string>

#include "platform/UserDefaults.h"
#include "platform/linux/system/AccountLock.h"

namespace quorvin {

// Settings in the group [defaults] of a key file (the format of GLib's GKeyFile). Every value is
// text there: numbers read as they are written, and "YES", "true" and "1" in any case are true. A
// file that is missing, unreadable, malformed or larger than a mebibyte holds no keys.
//
// Storing is durable and all or nothing, and leaves alone what another process stored meanwhile. It
// takes the account's lock and writes a private file, but nothing at all when the file says already
// what is to be stored. A file that cannot be understood is put aside under another name, and said
// so on standard error.
class LinuxUserDefaults final : public UserDefaults {
 public:
  explicit LinuxUserDefaults(std::string path);

  // com.quorvin.support/defaults.ini under the user's configuration directory
  // (https://specifications.freedesktop.org/basedir-spec/latest/).
  [[nodiscard]] static std::string pathFromEnvironment();

  [[nodiscard]] bool boolForKey(const std::string& key) override;
  [[nodiscard]] std::optional<std::string> stringForKey(const std::string& key) override;
  // Bytes that are no UTF-8 are replaced by U+FFFD, as the file can hold none.
  void setBool(bool value, const std::string& key) override;
  void setString(const std::string& value, const std::string& key) override;
  void removeObject(const std::string& key) override;
  void synchronize() override;

  // For others who change what belongs to the settings.
  [[nodiscard]] AccountLock& lock() { return accountLock; }

 private:
  std::string path;
  AccountLock accountLock;
  std::map<std::string, std::optional<std::string>> changes;  // not yet stored; empty: removed
};

}  // namespace quorvin
