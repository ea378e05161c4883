#include "launchctl/Environment.h"

#include <glib.h>

#include <cstdlib>
#include <string_view>

#include "launchctl/LaunchctlError.h"

namespace quorvin::launchctl {
namespace {

std::string variable(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? std::string() : value;
}

// A variable that holds no absolute path counts as not set (XDG Base Directory Specification).
std::filesystem::path folder(const char* name, const std::filesystem::path& usual) {
  const std::filesystem::path value = variable(name);
  return value.is_absolute() ? value : usual;
}

}  // namespace

Environment Environment::fromEnvironment() {
  const std::filesystem::path home = g_get_home_dir();  // HOME, or else the user's entry
  if (!home.is_absolute()) throw LaunchctlError("there is no home folder; set HOME");
  const auto systemctl = variable("QUORVIN_SYSTEMCTL");
  return {folder("XDG_CONFIG_HOME", home / ".config"),
          folder("XDG_STATE_HOME", home / ".local" / "state") / "quorvin-launchctl",
          systemctl.empty() ? "systemctl" : systemctl};
}

}  // namespace quorvin::launchctl
