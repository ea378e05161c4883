#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Platform.h"

namespace quorvin {

// Unattended access: whether this account lets support sessions begin without somebody at the
// machine, and under which name; and the commands that turn it on and off. Holds no state; every
// answer is read afresh from the process arguments and the user defaults. Main thread.
class UnattendedAccess {
 public:
  UnattendedAccess() = delete;

  // Runs the management command that the arguments ask for, if any, and returns the status with
  // which the process is to exit. Nothing is written when they ask for none.
  [[nodiscard]] static std::optional<std::int32_t> handleCommandIfPresent(Platform& platform);
  // Whether the arguments ask for a management command.
  [[nodiscard]] static bool managementCommandRequested(Platform& platform);
  // Whether the process was started for unattended use.
  [[nodiscard]] static bool unattendedRequested(Platform& platform);
  // Whether it was, and unattended access is enabled for this account under a name.
  [[nodiscard]] static bool authorizedRun(Platform& platform);
  // The name chosen for unattended access, normalized; empty when there is none.
  [[nodiscard]] static std::string deviceName(Platform& platform);

  // Enables unattended access under the requested name, or else the computer's: writes the login
  // agent's file, stores the settings and registers the agent. Everything is in place afterwards,
  // or an Error is thrown and the state before is restored.
  static void install(Platform& platform, const std::optional<std::string>& requestedName);
  // Unregisters the agent, deletes its file and forgets the settings. Throws only when the file
  // cannot be deleted or the settings cannot be stored.
  static void remove(Platform& platform);
  // Runs "/bin/launchctl" and returns its status. Throws the system's Error when it cannot be
  // launched, and one of our own when success is required and the status is not 0.
  static std::int32_t runLaunchctl(Platform& platform, const std::vector<std::string>& arguments,
                                   bool requireSuccess);

  // Every run of white space becomes one blank, none stays at either end, and at most 80
  // user-perceived characters are kept.
  [[nodiscard]] static std::string normalize(Text& text, std::string_view name);

  static constexpr auto enabledKey = "unattendedAccessEnabled";
  static constexpr auto deviceNameKey = "unattendedAccessDeviceName";

 private:
  [[nodiscard]] static bool isEnabled(Platform& platform);
  [[nodiscard]] static std::optional<std::string> commandValue(
      std::string_view name, const std::vector<std::string>& arguments);
};

}  // namespace quorvin
