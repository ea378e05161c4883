#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

namespace quorvin::launchctl {

// Ends every process of this user whose arguments, the program's own name first, are the ones
// meant: with SIGTERM, and with SIGKILL when it has not ended within the time that launchd gives.
// Throws LaunchctlError when one is still there.
void endProcesses(const std::function<bool(const std::vector<std::string>&)>& isMeant,
                  std::chrono::milliseconds timeout = std::chrono::seconds(20));

}  // namespace quorvin::launchctl
