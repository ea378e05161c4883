#pragma once

#include <filesystem>
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

// A text file that this program keeps in a folder of the user's. Its first line is a comment that
// says so; a file of that name without it belongs to somebody else and is never touched.
class ManagedFile {
 public:
  explicit ManagedFile(std::filesystem::path path) : place(std::move(path)) {}

  [[nodiscard]] const std::filesystem::path& path() const { return place; }
  // Whether it is there and ours.
  [[nodiscard]] bool exists() const;
  // Whether there is something else in its place.
  [[nodiscard]] bool isUnmanaged() const;
  // What follows the first line; empty when the file is not there or not ours.
  [[nodiscard]] std::string content() const;
  // Makes it hold this text, and its folder if need be. At every moment, even if the process or the
  // machine ends there, the file has its old text or its new one. Throws LaunchctlError.
  void replace(const std::string& text) const;
  // Deletes it if it is ours. Throws LaunchctlError when that is not possible.
  void remove() const;

 private:
  // What a replace that was killed has left.
  void removeTemporaryFiles() const;

  std::filesystem::path place;
};

}  // namespace quorvin::launchctl
