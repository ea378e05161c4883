#pragma once

#include <optional>
#include <string>
#include <vector>

namespace quorvin::launchctl {

// The user's systemd manager, and what is asked of it for an agent's unit, through systemctl(1).
// Each call waits until systemctl has ended.
class UserManager {
 public:
  // Nothing where there is none, or none that can be reached. `systemctl` is that program's path,
  // or its name to be looked for in PATH.
  [[nodiscard]] static std::optional<UserManager> find(const std::string& systemctl);

  // Has the unit start with every graphical session. Its file is there. Throws LaunchctlError.
  void enable(const std::string& unit) const;
  // Starts it now, if there is a graphical session. Throws LaunchctlError when it does not start.
  void startInSession(const std::string& unit) const;
  // Ends it and has it start no more. Throws LaunchctlError when it goes on.
  void stop(const std::string& unit) const;
  // Forgets a unit whose file is gone.
  void forget(const std::string& unit) const;
  // The command that starts the unit.
  [[nodiscard]] std::vector<std::string> startCommand(const std::string& unit) const;

 private:
  UserManager(std::string systemctl, bool knowsDisplay)
      : systemctl(std::move(systemctl)), knowsDisplay(knowsDisplay) {}

  [[nodiscard]] bool hasGraphicalSession() const;
  [[nodiscard]] bool isActive(const std::string& unit) const;
  // Whether a command succeeds.
  bool tryTo(const std::vector<std::string>& command) const;
  // Throws LaunchctlError with what systemctl had to say when it does not.
  void require(const std::vector<std::string>& command) const;

  std::string systemctl;
  bool knowsDisplay;
};

}  // namespace quorvin::launchctl
