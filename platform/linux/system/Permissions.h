#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/Permissions.h"
#include "platform/Process.h"

namespace quorvin {

// PRETTY_HOSTNAME of a machine-info file
// (https://www.freedesktop.org/software/systemd/man/latest/machine-info.html); nothing when it is
// absent, empty, wrongly quoted or not UTF-8.
[[nodiscard]] std::optional<std::string> prettyHostName(std::string_view machineInfo);

// The pretty host name of that file, or else the system's host name, or nothing. Any thread.
[[nodiscard]] std::optional<std::string> computerName(const std::string& machineInfoPath);

struct PermissionsEnvironment {
  std::string display;  // an X display name, as in DISPLAY; empty for none
  bool isWaylandSession = false;
  std::string machineInfoPath = "/etc/machine-info";  // machine-info(5)

  [[nodiscard]] static PermissionsEnvironment fromEnvironment();
};

// On X11 whoever may connect to the display may see it. So Screen Recording stands for a display
// that can be opened and read, and Accessibility for one that takes synthetic input (XTEST). The X
// server of a Wayland session allows neither, as it shows a part of the screen only.
//
// The display is asked on a separate thread when this object is made, and the connection is kept. A
// call only checks the connection, and has a new one opened when it broke. Nothing is granted while
// the display has not answered. Calls in the first second wait for the answer until that second is
// over, since management commands have no event loop yet. What the user has to do about a missing
// permission goes to standard error.
class LinuxPermissions final : public Permissions {
 public:
  LinuxPermissions(Process& process, PermissionsEnvironment environment);
  ~LinuxPermissions() override;

  [[nodiscard]] bool preflightScreenCaptureAccess() override;
  bool requestScreenCaptureAccess() override;
  [[nodiscard]] bool isProcessTrusted() override;
  bool isProcessTrustedWithOptions(bool prompt) override;

  // Whether the display has answered or failed, so that no call waits. Main thread.
  [[nodiscard]] bool areKnown();

  // The pretty host name, or else the host name.
  [[nodiscard]] std::optional<std::string> copyComputerName() override;

 private:
  class Display;

  Process& process;
  PermissionsEnvironment environment;
  std::unique_ptr<Display> display;
};

}  // namespace quorvin
