#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

namespace quorvin::launchctl {

// Which process it is, for ever: a process id is given to others in time, but never with the same
// start in the same run of the kernel. All of it stays the same over an exec.
struct ProcessIdentity {
  std::string boot;                   // /proc/sys/kernel/random/boot_id
  unsigned long long startTicks = 0;  // field 22 of /proc/PID/stat (proc(5)): since the boot
  pid_t pid = 0;

  bool operator==(const ProcessIdentity&) const = default;
};

// Of the process that has this id now; nothing when there is none, or it has ended.
[[nodiscard]] std::optional<ProcessIdentity> identityOf(pid_t pid);

// As text and back; nothing from a text that is not such a one.
[[nodiscard]] std::string toText(const ProcessIdentity& identity);
[[nodiscard]] std::optional<ProcessIdentity> identityFromText(const std::string& text);

}  // namespace quorvin::launchctl
