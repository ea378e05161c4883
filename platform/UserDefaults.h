#pragma once

#include <optional>
#include <string>

namespace quorvin {

// The settings that outlive the process, in the application's own domain. Read afresh at every
// call, since another process may have written them; what was changed here and not yet stored
// counts already. Main thread.
class UserDefaults {
 public:
  UserDefaults(const UserDefaults&) = delete;
  UserDefaults& operator=(const UserDefaults&) = delete;
  virtual ~UserDefaults() = default;

  // False when the key is absent. Text counts as true when it is "YES", "true" or "1" in any case,
  // and a number when it is not zero.
  [[nodiscard]] virtual bool boolForKey(const std::string& key) = 0;
  // Nothing when the key is absent or holds neither text nor a number, which is read in digits.
  [[nodiscard]] virtual std::optional<std::string> stringForKey(const std::string& key) = 0;

  virtual void setBool(bool value, const std::string& key) = 0;
  virtual void setString(const std::string& value, const std::string& key) = 0;
  virtual void removeObject(const std::string& key) = 0;
  // Stores every change made so far, so that another process sees it. Throws an Error when that is
  // not possible; the changes then count for this process only.
  virtual void synchronize() = 0;

 protected:
  UserDefaults() = default;
};

}  // namespace quorvin
