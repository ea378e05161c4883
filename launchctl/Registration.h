#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "launchctl/AgentFile.h"
#include "launchctl/LoginFiles.h"
#include "launchctl/UserManager.h"
#include "platform/unix/FileDescriptor.h"

namespace quorvin::launchctl {

// What the program takes from its environment.
struct Environment {
  std::filesystem::path configFolder;  // XDG_CONFIG_HOME
  std::filesystem::path stateFolder;   // this program's own, below XDG_STATE_HOME
  std::string systemctl;               // QUORVIN_SYSTEMCTL, or "systemctl"

  // Throws LaunchctlError when there is no home folder.
  [[nodiscard]] static Environment fromEnvironment();
};

// Held by at most one of these programs of a user at a time. Waits up to five seconds for its turn,
// then throws LaunchctlError. The folder is only what the lock is taken on; it is made if need be,
// and private, so that no other user can take it. Where it cannot be locked, as on some network
// file systems, there is no lock: two at once are rare, and every single step leaves whole files.
class Lock {
 public:
  explicit Lock(const std::filesystem::path& folder);

 private:
  FileDescriptor locked;
};

// One agent's place in the user's login.
//
// Where there is a systemd manager, that is a unit, and an autostart entry which starts the unit on
// desktops that do not do that themselves. Elsewhere it is an autostart entry which starts the
// program with the next login. The entry is written last and deleted before the unit: an agent
// without it is one whose registering or unregistering was cut short.
//
// Every function throws LaunchctlError when the system does not let it do its work.
class Registration {
 public:
  Registration(std::string label, const Environment& environment);

  // Whether the agent starts with the login.
  [[nodiscard]] bool isComplete() const;
  // Whether anything of it is there.
  [[nodiscard]] bool hasTraces() const;
  // Throws when a file of somebody else's is where one of ours has to be.
  void requireFreePlaces() const;
  // Registers the agent, and starts it if there is a manager; on a LaunchctlError everything is as
  // if it had not been tried. Nothing of it may be there.
  void add(const Agent& agent) const;
  // Ends the agent and removes every trace.
  void remove() const;

 private:
  void addToManager(const Agent& agent) const;
  [[nodiscard]] bool hasUnit() const;
  void removeUnit() const;

  std::string label;
  std::optional<UserManager> manager;
  std::string unitName;
  ManagedFile entry;
  ManagedFile unit;
  std::filesystem::path enabled;  // the link that systemctl enable makes
};

}  // namespace quorvin::launchctl
