#pragma once

#include <optional>
#include <string>

#include "platform/Interface.h"

namespace quorvin {

// The settings that outlive the process, in the application's own domain. Read afresh at every
// call, since another process may have written them; what was changed here and not yet stored
// counts already. Main thread.
class UserDefaults : public Interface {
 public:
  // False when the key is absent. Text counts as true when it is "YES", "true" or "1" in any case,
  // and as false when it is "NO", "false", "0" or empty; any other text, and a number that is
  // neither 0 nor 1, as the system takes it.
  [[nodiscard]] virtual bool boolForKey(const std::string& key) = 0;
  // The text as it was stored: blanks are not trimmed, and text that is empty or blank is not
  // nothing. A number is read in digits, a truth value as the system writes it. Nothing when the
  // key is absent or holds something else.
  [[nodiscard]] virtual std::optional<std::string> stringForKey(const std::string& key) = 0;

  virtual void setBool(bool value, const std::string& key) = 0;
  // What is not UTF-8 in the text is replaced; nothing else in it is.
  virtual void setString(const std::string& value, const std::string& key) = 0;
  virtual void removeObject(const std::string& key) = 0;
  // Stores every change made so far, so that another process sees it. Throws an Error when that is
  // not possible; the changes then count for this process only. macOS stores in its own time and
  // reports no failure.
  virtual void synchronize() = 0;
};

}  // namespace quorvin
