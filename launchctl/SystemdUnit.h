#pragma once

#include <string>
#include <vector>

#include "launchctl/Agent.h"

namespace quorvin::launchctl {

// The name of the systemd unit that stands for an agent.
[[nodiscard]] std::string systemdUnitName(const std::string& label);

// The text of that unit (systemd.unit(5), systemd.service(5)).
[[nodiscard]] std::string systemdUnitText(const Agent& agent);

// A command as the value of ExecStart= (systemd.syntax(7)): every argument arrives as it is.
[[nodiscard]] std::string systemdCommandLine(const std::vector<std::string>& command);

}  // namespace quorvin::launchctl
