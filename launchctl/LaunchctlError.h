#pragma once

#include <stdexcept>
#include <string>

namespace quorvin::launchctl {

// How the program ends. The numbers are those with which launchctl(1) ends in the same situation:
// numbers of <errno.h> as far as they go, and of <sysexits.h> for a wrong command line.
enum class ExitStatus {
  success = 0,
  noSuchAgent = 3,         // nothing of that label is registered
  failed = 5,              // the request could not be carried out
  usage = 64,              // the command line is not one of those that are understood
  noSuchDomain = 112,      // the graphical login of somebody else
  unsupportedDomain = 125  // a domain, but not that of a graphical login
};

// Why a request is not carried out, and what to do next; a sentence for standard error.
class LaunchctlError : public std::runtime_error {
 public:
  LaunchctlError(ExitStatus status, const std::string& message)
      : std::runtime_error(message), exitStatus(status) {}
  explicit LaunchctlError(const std::string& message)
      : LaunchctlError(ExitStatus::failed, message) {}

  [[nodiscard]] ExitStatus status() const { return exitStatus; }

 private:
  ExitStatus exitStatus;
};

}  // namespace quorvin::launchctl
