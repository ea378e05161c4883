#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace quorvin::launchctl {

enum class Command { bootstrap, bootout, help, version };

struct Request {
  Command command = Command::help;
  std::filesystem::path file;  // of bootstrap and bootout
};

// Reads the arguments after the program's own name. Throws LaunchctlError when they are not one of
// the known requests, or name a domain other than the graphical login of this user.
[[nodiscard]] Request parseCommandLine(const std::vector<std::string>& arguments,
                                       unsigned int userId);

// The text for --help.
[[nodiscard]] std::string usageText();

}  // namespace quorvin::launchctl
