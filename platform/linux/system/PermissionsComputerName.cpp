#include "platform/linux/system/PermissionsComputerName.h"

#include <glib.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <climits>
#include <memory>

#include "platform/linux/system/TextFile.h"

namespace quorvin {
namespace {

constexpr std::size_t machineInfoBytesMax = 64 << 10;

struct Free {
  void operator()(char* text) const { g_free(text); }
};

// The value of a shell-like assignment, without its quotes and backslashes.
std::string unquoted(const std::string& value) {
  const std::unique_ptr<char, Free> text(g_shell_unquote(value.c_str(), nullptr));
  return text != nullptr ? text.get() : "";
}

std::optional<std::string> usable(std::string name) {
  if (name.empty() || g_utf8_validate(name.data(), static_cast<gssize>(name.size()), nullptr) == 0)
    return {};
  return name;
}

std::optional<std::string> hostName() {
  std::array<char, HOST_NAME_MAX + 1> name{};
  if (gethostname(name.data(), name.size() - 1) != 0) return {};
  // What the kernel answers before anybody has set a name.
  if (std::string_view(name.data()) == "(none)") return {};
  return usable(name.data());
}

}  // namespace

std::optional<std::string> prettyHostName(std::string_view machineInfo) {
  constexpr std::string_view assignment = "PRETTY_HOSTNAME=";
  std::optional<std::string> name;
  while (!machineInfo.empty()) {
    const auto line = machineInfo.substr(0, machineInfo.find('\n'));
    machineInfo.remove_prefix(std::min(line.size() + 1, machineInfo.size()));
    // A later assignment counts more than an earlier one, as in a shell.
    if (line.starts_with(assignment)) {
      name = usable(unquoted(std::string(line.substr(assignment.size()))));
    }
  }
  return name;
}

std::optional<std::string> computerName(const std::string& machineInfoPath) {
  const auto machineInfo = readTextFile(machineInfoPath, machineInfoBytesMax);
  const auto pretty = machineInfo ? prettyHostName(*machineInfo) : std::nullopt;
  return pretty ? pretty : hostName();
}

}  // namespace quorvin
