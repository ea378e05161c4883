#pragma once

#include <filesystem>
#include <string>

namespace quorvin::launchctl {

// What the program takes from its environment.
struct Surroundings {
  std::filesystem::path configFolder;  // XDG_CONFIG_HOME
  std::filesystem::path stateFolder;   // this program's own, below XDG_STATE_HOME
  std::string systemctl;               // QUORVIN_SYSTEMCTL, or "systemctl"
};

// Throws a Failure when there is no home folder.
[[nodiscard]] Surroundings lookAround();

}  // namespace quorvin::launchctl
