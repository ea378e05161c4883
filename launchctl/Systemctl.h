#pragma once

#include <optional>
#include <string>
#include <vector>

namespace quorvin::launchctl {

// The user's systemd manager, through systemctl(1).
class Systemctl {
 public:
  // The program's path, or its name to be looked for in PATH.
  explicit Systemctl(std::string program) : program(std::move(program)) {}

  [[nodiscard]] const std::string& name() const { return program; }
  // What the command wrote to standard output; nothing when it failed or could not be started.
  // Waits until it has ended.
  [[nodiscard]] std::optional<std::string> tryTo(const std::vector<std::string>& command) const;
  // The same for a command that has to succeed. Throws a Failure with what systemctl had to say.
  void require(const std::vector<std::string>& command) const;

 private:
  struct Result {
    bool succeeded = false;
    std::string output;
    std::string problem;
  };
  [[nodiscard]] Result run(const std::vector<std::string>& command) const;

  std::string program;
};

}  // namespace quorvin::launchctl
