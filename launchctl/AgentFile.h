#pragma once

#include <filesystem>
#include <optional>
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

// Reads the property list (XML) that describes an agent. Throws LaunchctlError, which says what is
// wrong with the file or with what it asks for. The rules about whose file it may be and who may
// write it are those of launchd: whoever can change the file can have a program run as this user.
[[nodiscard]] Agent readAgentFile(const std::filesystem::path& file);

// Which agent a file is about: the label inside it, or else the one that its name stands for
// ("LABEL.plist"). The file may be in any state, or gone.
[[nodiscard]] std::optional<std::string> labelOfAgentFile(const std::filesystem::path& file);

}  // namespace quorvin::launchctl
