#include "launchctl/Registration.h"

#include <array>
#include <system_error>

#include "launchctl/AutostartEntry.h"
#include "launchctl/Failure.h"
#include "launchctl/SystemdUnit.h"

namespace quorvin::launchctl {
namespace {

std::filesystem::path unitFolder(const Surroundings& surroundings) {
  return surroundings.configFolder / "systemd" / "user";
}

bool isLink(const std::filesystem::path& path) {
  std::error_code ignored;
  return std::filesystem::is_symlink(std::filesystem::symlink_status(path, ignored));
}

}  // namespace

OwnFile processRecord(const std::string& label, const Surroundings& surroundings) {
  return OwnFile(surroundings.stateFolder / (label + ".process"));
}

Registration::Registration(std::string agentLabel, const Surroundings& surroundings)
    : label(std::move(agentLabel)),
      surroundings(surroundings),
      manager(UserManager::find(Systemctl(surroundings.systemctl))),
      unitName(systemdUnitName(label)),
      entry(surroundings.configFolder / "autostart" / (label + ".desktop")),
      unit(unitFolder(surroundings) / unitName),
      enabled(unitFolder(surroundings) / "graphical-session.target.wants" / unitName),
      process(processRecord(label, surroundings)) {}

bool Registration::isComplete() const {
  return entry.exists() && (unit.exists() || !manager);
}

bool Registration::hasTraces() const {
  return entry.exists() || process.isRecorded() || hasUnit();
}

// Its file may have been deleted by hand.
bool Registration::hasUnit() const {
  return unit.exists() || (isLink(enabled) && !unit.isForeign());
}

void Registration::requireFreePlaces() const {
  for (const auto& file : {entry, unit}) {
    if (file.isForeign()) {
      throw Failure(file.path().string() +
                    " is there and not by this program; move it away, then try again");
    }
  }
}

void Registration::add(const Agent& agent) const {
  try {
    if (manager) {
      addToManager(agent);
    } else {
      addToAutostart(agent);
    }
  } catch (const Failure&) {
    try {
      remove();
    } catch (const Failure&) {
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

void Registration::addToAutostart(const Agent& agent) const {
  if (surroundings.hasDisplay) process.start(agent.programArguments);
  std::vector<std::string> command{surroundings.ownExecutable, "run", label};
  command.insert(command.end(), agent.programArguments.begin(), agent.programArguments.end());
  entry.replace(autostartEntryText(label, command, AutostartReader::every));
}

void Registration::remove() const {
  entry.remove();
  process.end(AgentProcess::usualGrace);
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
