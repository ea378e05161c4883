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

}  // namespace quorvin::launchctl
