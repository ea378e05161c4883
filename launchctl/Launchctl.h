#pragma once

#include "launchctl/CommandLine.h"
#include "launchctl/Failure.h"
#include "launchctl/Surroundings.h"

namespace quorvin::launchctl {

// Registers the agent that a file describes with the login of this user, and starts it. Throws a
// Failure, and leaves everything as it was, when that is not possible or it is registered already.
void bootstrap(const std::filesystem::path& file, const Surroundings& surroundings);

// Ends that agent and unregisters it. Throws a Failure when it is not registered.
void bootout(const std::filesystem::path& file, const Surroundings& surroundings);

// Becomes the program of an agent; what the autostart entry calls. Returns when it runs already.
void run(const std::string& label, const std::vector<std::string>& program,
         const Surroundings& surroundings);

}  // namespace quorvin::launchctl
