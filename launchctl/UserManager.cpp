#include "launchctl/UserManager.h"

#include <glib.h>

#include <algorithm>
#include <sstream>

#include "launchctl/LaunchctlError.h"
#include "platform/unix/GlibPtr.h"

namespace quorvin::launchctl {
namespace {

struct Result {
  bool succeeded = false;
  std::string output;
  std::string problem;
};

Result run(const std::string& systemctl, const std::vector<std::string>& command) {
  std::vector<std::string> words{systemctl, "--user", "--no-pager"};
  words.insert(words.end(), command.begin(), command.end());
  std::vector<char*> arguments(words.size() + 1, nullptr);
  std::ranges::transform(words, arguments.begin(), [](auto& word) { return word.data(); });

  char* output = nullptr;
  char* problems = nullptr;
  int status = 0;
  GError* problem = nullptr;
  const bool started =
      g_spawn_sync(nullptr, arguments.data(), nullptr, G_SPAWN_SEARCH_PATH, nullptr, nullptr,
                   &output, &problems, &status, &problem) != FALSE;
  const GlibPtr<char> ownedOutput(output);
  const GlibPtr<char> ownedProblems(problems);
  const GlibPtr<GError> ownedProblem(problem);
  if (!started) return {false, {}, problem->message};
  const std::string said = problems;
  return {status == 0, output, said.substr(0, said.find('\n'))};
}

// Whether the programs that the manager starts find a display.
bool namesDisplay(const std::string& environment) {
  std::istringstream lines(environment);
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with("DISPLAY=") || line.starts_with("WAYLAND_DISPLAY=")) return true;
  }
  return false;
}

}  // namespace

std::optional<UserManager> UserManager::find(const std::string& systemctl) {
  const auto environment = run(systemctl, {"show-environment"});
  if (!environment.succeeded) return std::nullopt;
  return UserManager(systemctl, namesDisplay(environment.output));
}

void UserManager::enable(const std::string& unit) const {
  require({"daemon-reload"});
  require({"enable", unit});
}

void UserManager::startInSession(const std::string& unit) const {
  if (hasGraphicalSession()) require({"start", unit});
}

void UserManager::stop(const std::string& unit) const {
  // Each may fail because it has been done already, by an earlier try that did not come to its end.
  if (!tryTo({"stop", unit}) && isActive(unit)) {
    throw LaunchctlError(unit + " does not stop; see systemctl --user status " + unit);
  }
  tryTo({"disable", unit});
}

void UserManager::forget(const std::string& unit) const {
  tryTo({"daemon-reload"});
  // It would keep a unit that has failed; and its next start would count as one too many.
  tryTo({"reset-failed", unit});
}

std::vector<std::string> UserManager::startCommand(const std::string& unit) const {
  return {systemctl, "--user", "start", unit};
}

// Not every desktop tells systemd of its sessions, but Debian tells it of every display.
bool UserManager::hasGraphicalSession() const {
  return isActive("graphical-session.target") || knowsDisplay;
}

bool UserManager::isActive(const std::string& unit) const {
  return tryTo({"is-active", unit});
}

bool UserManager::tryTo(const std::vector<std::string>& command) const {
  return run(systemctl, command).succeeded;
}

void UserManager::require(const std::vector<std::string>& command) const {
  const auto result = run(systemctl, command);
  if (result.succeeded) return;
  const auto said = result.problem.empty() ? "it did not say why" : result.problem;
  throw LaunchctlError("systemctl --user " + command.front() + " failed: " + said);
}

}  // namespace quorvin::launchctl
