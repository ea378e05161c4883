#pragma once

#include <string>

#include "platform/Platform.h"

namespace quorvin {

// Unattended access: whether this account lets support sessions begin without somebody at the
// machine, and under which name. Holds no state; every answer is read afresh from the process
// arguments and the user defaults. Main thread.
class UnattendedAccess {
 public:
  UnattendedAccess() = delete;

  // Whether the process was started for unattended use.
  [[nodiscard]] static bool unattendedRequested(Platform& platform);
  // Whether it was, and unattended access is enabled for this account under a name.
  [[nodiscard]] static bool authorizedRun(Platform& platform);
  // The name chosen for unattended access, normalized; empty when there is none.
  [[nodiscard]] static std::string deviceName(Platform& platform);
  // Every run of white space becomes one blank, none stays at either end, and at most 80
  // user-perceived characters are kept.
  [[nodiscard]] static std::string normalize(Text& text, std::string_view name);
};

}  // namespace quorvin
