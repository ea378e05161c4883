#pragma once

#include <string>
#include <vector>

namespace quorvin::launchctl {

// A program that is to run while the user is logged in (launchd.plist(5)).
struct Agent {
  std::string label;
  // The program's absolute path, and what it finds as its arguments after it. UTF-8.
  std::vector<std::string> programArguments;
  // Whether it is started again whenever it has ended.
  bool keepAlive = false;
};

// The same command by way of a shell that becomes the program at once. For whoever takes any text
// as an argument but not as a program's name.
[[nodiscard]] inline std::vector<std::string> throughShell(std::vector<std::string> command) {
  const std::vector<std::string> shell{"/bin/sh", "-c", "exec \"$@\"", "sh"};
  command.insert(command.begin(), shell.begin(), shell.end());
  return command;
}

}  // namespace quorvin::launchctl
