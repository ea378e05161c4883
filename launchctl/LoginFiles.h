#pragma once

#include <string>
#include <vector>

#include "launchctl/AgentFile.h"

namespace quorvin::launchctl {

// The name of the systemd unit that stands for an agent.
[[nodiscard]] std::string systemdUnitName(const std::string& label);

// The text of that unit (systemd.unit(5), systemd.service(5)).
[[nodiscard]] std::string systemdUnitText(const Agent& agent);

// A command as the value of ExecStart= (systemd.syntax(7)): every argument arrives as it is.
[[nodiscard]] std::string systemdCommandLine(const std::vector<std::string>& command);

// Which desktops are to act on an autostart entry.
enum class AutostartReader {
  every,
  // All but those whose login systemd carries out: there the agent's unit starts by itself.
  desktopsWithoutSystemd
};

// The text of an autostart entry (Desktop Application Autostart Specification) that has a command
// run at the login to a desktop.
[[nodiscard]] std::string autostartEntryText(const std::string& label,
                                             const std::vector<std::string>& command,
                                             AutostartReader reader);

// A command as the value of Exec= (Desktop Entry Specification, "The Exec key"): every argument
// arrives as it is.
[[nodiscard]] std::string desktopCommandLine(const std::vector<std::string>& command);

}  // namespace quorvin::launchctl
