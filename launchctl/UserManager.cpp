#include "launchctl/UserManager.h"

#include <sstream>

#include "launchctl/Failure.h"

namespace quorvin::launchctl {
namespace {

// Whether the programs that the manager starts find a display.
bool namesDisplay(const std::string& environment) {
  std::istringstream lines(environment);
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with("DISPLAY=") || line.starts_with("WAYLAND_DISPLAY=")) return true;
  }
  return false;
}

}  // namespace

std::optional<UserManager> UserManager::find(const Systemctl& systemctl) {
  const auto environment = systemctl.tryTo({"show-environment"});
  if (!environment) return std::nullopt;
  return UserManager(systemctl, namesDisplay(*environment));
}

void UserManager::enable(const std::string& unit) const {
  systemctl.require({"daemon-reload"});
  systemctl.require({"enable", unit});
}

void UserManager::startInSession(const std::string& unit) const {
  if (hasGraphicalSession()) systemctl.require({"start", unit});
}

void UserManager::stop(const std::string& unit) const {
  // Each may fail because it has been done already, by an earlier try that did not come to its end.
  if (!systemctl.tryTo({"stop", unit}) && isActive(unit)) {
    throw Failure(unit + " does not stop; see systemctl --user status " + unit);
  }
  static_cast<void>(systemctl.tryTo({"disable", unit}));
}

void UserManager::forget(const std::string& unit) const {
  static_cast<void>(systemctl.tryTo({"daemon-reload"}));
  // It would keep a unit that has failed; and its next start would count as one too many.
  static_cast<void>(systemctl.tryTo({"reset-failed", unit}));
}

std::vector<std::string> UserManager::startCommand(const std::string& unit) const {
  return {systemctl.name(), "--user", "start", unit};
}

// Not every desktop tells systemd of its sessions, but Debian tells it of every display.
bool UserManager::hasGraphicalSession() const {
  return isActive("graphical-session.target") || knowsDisplay;
}

bool UserManager::isActive(const std::string& unit) const {
  return systemctl.tryTo({"is-active", unit}).has_value();
}

}  // namespace quorvin::launchctl
