#pragma once

#include <filesystem>
#include <string>

namespace quorvin::launchctl {

// What the program takes from its environment.
struct Environment {
  std::filesystem::path configFolder;  // XDG_CONFIG_HOME
  std::filesystem::path stateFolder;   // this program's own, below XDG_STATE_HOME
  std::string systemctl;               // QUORVIN_SYSTEMCTL, or "systemctl"

  // Throws LaunchctlError when there is no home folder.
  [[nodiscard]] static Environment fromEnvironment();
};

}  // namespace quorvin::launchctl
