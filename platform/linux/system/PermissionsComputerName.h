#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quorvin {

// PRETTY_HOSTNAME of a machine-info file
// (https://www.freedesktop.org/software/systemd/man/latest/machine-info.html); nothing when it is
// absent, empty, wrongly quoted or not UTF-8.
[[nodiscard]] std::optional<std::string> prettyHostName(std::string_view machineInfo);

// The pretty host name of that file, or else the system's host name, or nothing. Any thread.
[[nodiscard]] std::optional<std::string> computerName(const std::string& machineInfoPath);

}  // namespace quorvin
