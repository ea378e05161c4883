#pragma once

#include <string>
#include <vector>

namespace quorvin::launchctl {

// The same command by way of a shell that becomes the program at once. For whoever takes any text
// as an argument but not as a program's name.
[[nodiscard]] inline std::vector<std::string> throughShell(std::vector<std::string> command) {
  const std::vector<std::string> shell{"/bin/sh", "-c", "exec \"$@\"", "sh"};
  command.insert(command.begin(), shell.begin(), shell.end());
  return command;
}

}  // namespace quorvin::launchctl
