#include "platform/linux/system/Permissions.h"

#include <cstdlib>
#include <utility>

#include "platform/linux/system/PermissionsComputerName.h"
#include "platform/linux/system/PermissionsDisplay.h"

namespace quorvin {
namespace {

std::string variable(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr ? value : "";
}

std::string missingDisplayAdvice(const PermissionsEnvironment& environment) {
  if (!environment.display.empty()) {
    return "The X display " + environment.display +
           " cannot be opened or its screen cannot be read. Check DISPLAY and XAUTHORITY.\n";
  }
  if (environment.isWaylandSession) {
    return "This Wayland session offers no X display (DISPLAY is not set). Log in to an X11 "
           "session to share the screen.\n";
  }
  return "There is no X display (DISPLAY is not set). Start Quorvin Support from a graphical X11 "
         "session.\n";
}

}  // namespace

PermissionsEnvironment PermissionsEnvironment::fromEnvironment() {
  PermissionsEnvironment environment;
  environment.display = variable("DISPLAY");
  environment.isWaylandSession =
      !variable("WAYLAND_DISPLAY").empty() || variable("XDG_SESSION_TYPE") == "wayland";
  return environment;
}

LinuxPermissions::LinuxPermissions(Process& process, PermissionsEnvironment environment)
    : process(process),
      environment(std::move(environment)),
      display(std::make_unique<PermissionsDisplay>(this->environment.display)) {}

LinuxPermissions::~LinuxPermissions() = default;

bool LinuxPermissions::preflightScreenCaptureAccess() {
  return display->access().canRead;
}

bool LinuxPermissions::requestScreenCaptureAccess() {
  if (preflightScreenCaptureAccess()) return true;
  process.writeToStandardError(missingDisplayAdvice(environment));
  return false;
}

bool LinuxPermissions::isProcessTrusted() {
  return display->access().canInject;
}

bool LinuxPermissions::isProcessTrustedWithOptions(bool prompt) {
  const auto access = display->access();
  if (access.canInject || !prompt) return access.canInject;
  process.writeToStandardError(access.canRead
                                   ? "The X display " + environment.display +
                                         " takes no remote input: its server has no XTEST "
                                         "extension. Enable that extension.\n"
                                   : missingDisplayAdvice(environment));
  return false;
}

bool LinuxPermissions::areKnown() {
  return display->hasAnswered();
}

std::optional<std::string> LinuxPermissions::copyComputerName() {
  return computerName(environment.machineInfoPath);
}

}  // namespace quorvin
