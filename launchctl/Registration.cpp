#include "launchctl/Registration.h"

#include <fcntl.h>
#include <glib.h>
#include <sys/file.h>

#include <cerrno>
#include <chrono>
#include <system_error>
#include <thread>

#include "launchctl/AgentProcess.h"
#include "launchctl/LaunchctlError.h"
#include "launchctl/LoginFiles.h"
#include "platform/unix/ProgramStart.h"

namespace quorvin::launchctl {
namespace {

// A variable that holds no absolute path counts as not set (XDG Base Directory Specification).
std::filesystem::path folder(const char* name, const std::filesystem::path& usual) {
  const std::filesystem::path value = environmentVariable(name);
  return value.is_absolute() ? value : usual;
}

std::filesystem::path unitFolder(const Environment& environment) {
  return environment.configFolder / "systemd" / "user";
}

FileDescriptor openPrivateFolder(const std::filesystem::path& folder) {
  constexpr int ownerOnly = 0700;
  g_mkdir_with_parents(folder.c_str(), ownerOnly);
  return FileDescriptor(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

bool isLink(const std::filesystem::path& path) {
  std::error_code ignored;
  return std::filesystem::is_symlink(std::filesystem::symlink_status(path, ignored));
}

}  // namespace

Environment Environment::fromEnvironment() {
  const std::filesystem::path home = g_get_home_dir();  // HOME, or else the user's entry
  if (!home.is_absolute()) throw LaunchctlError("there is no home folder; set HOME");
  const auto systemctl = environmentVariable("QUORVIN_SYSTEMCTL");
  return {folder("XDG_CONFIG_HOME", home / ".config"),
          folder("XDG_STATE_HOME", home / ".local" / "state") / "quorvin-launchctl",
          systemctl.empty() ? "systemctl" : systemctl};
}

Lock::Lock(const std::filesystem::path& folder) : locked(openPrivateFolder(folder)) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(5);
  while (locked.isOpen() && ::flock(locked.get(), LOCK_EX | LOCK_NB) != 0) {
    if (errno != EWOULDBLOCK && errno != EINTR) return;
    if (std::chrono::steady_clock::now() > deadline) {
      throw LaunchctlError("another process holds the lock on " + folder.string() +
                           "; wait until it has ended, or end it, then try again");
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
}

Registration::Registration(std::string agentLabel, const Environment& environment)
    : label(std::move(agentLabel)),
      manager(UserManager::find(environment.systemctl)),
      unitName(systemdUnitName(label)),
      entry(environment.configFolder / "autostart" / (label + ".desktop")),
      unit(unitFolder(environment) / unitName),
      enabled(unitFolder(environment) / "graphical-session.target.wants" / unitName) {}

bool Registration::isComplete() const {
  return entry.exists() && (unit.exists() || !manager);
}

bool Registration::hasTraces() const {
  return entry.exists() || hasUnit();
}

// Its file may have been deleted by hand.
bool Registration::hasUnit() const {
  return unit.exists() || (isLink(enabled) && !unit.isUnmanaged());
}

void Registration::requireFreePlaces() const {
  for (const auto& file : {entry, unit}) {
    if (file.isUnmanaged()) {
      throw LaunchctlError(file.path().string() +
                           " is there and not by this program; move it away, then try again");
    }
  }
}

void Registration::add(const Agent& agent) const {
  try {
    if (manager) {
      addToManager(agent);
    } else {
      entry.replace(autostartEntryText(label, agent.programArguments, AutostartReader::every));
    }
  } catch (const LaunchctlError&) {
    try {
      remove();
    } catch (const LaunchctlError&) {
      // The first failure says more.
    }
    throw;
  }
}

void Registration::addToManager(const Agent& agent) const {
  unit.replace(systemdUnitText(agent));
  manager->enable(unitName);
  manager->startInSession(unitName);
  entry.replace(autostartEntryText(label, manager->startCommand(unitName),
                                   AutostartReader::desktopsWithoutSystemd));
}

void Registration::remove() const {
  // Only the entry says which programs it has started, so they come first.
  endProcesses([text = entry.content()](const std::vector<std::string>& command) {
    return text.find("\nExec=" + desktopCommandLine(command) + "\n") != std::string::npos;
  });
  entry.remove();
  if (hasUnit()) removeUnit();
  unit.remove();  // also what was left of writing it
}

void Registration::removeUnit() const {
  if (manager) manager->stop(unitName);
  std::error_code ignored;
  if (isLink(enabled)) std::filesystem::remove(enabled, ignored);
  unit.remove();
  if (manager) manager->forget(unitName);
}

}  // namespace quorvin::launchctl
