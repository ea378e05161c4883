// The management commands of unattended access: how they are found and what they print.

#include <algorithm>
#include <functional>

#include "Runner/UnattendedAccess.h"
#include "platform/Error.h"

namespace quorvin {

namespace {

constexpr auto installFlag = "--install-unattended";
constexpr auto removeFlag = "--remove-unattended";
constexpr auto statusFlag = "--status-unattended";
constexpr auto helpFlag = "--help-unattended";

constexpr auto usage =
    "Quorvin unattended commands:\n"
    "  --install-unattended [--name \"My device\"]\n"
    "  --status-unattended\n"
    "  --remove-unattended\n";

constexpr std::int32_t succeeded = 0;
constexpr std::int32_t failed = 1;

bool contains(const std::vector<std::string>& arguments, std::string_view flag) {
  return std::ranges::find(arguments, flag) != arguments.end();
}

// Does the work and prints what it returns, or prints why it failed.
std::int32_t report(Process& process, const std::function<std::string()>& work) {
  std::string message;
  try {
    message = work();
  } catch (const Error& error) {
    process.writeToStandardError("Quorvin unattended access error: " + error.localizedDescription +
                                 "\n");
    return failed;
  }
  process.writeToStandardOutput(message);
  return succeeded;
}

}  // namespace

bool UnattendedAccess::managementCommandRequested(Platform& platform) {
  const auto arguments = platform.process.arguments();
  return std::ranges::any_of(
      std::initializer_list<const char*>{installFlag, removeFlag, statusFlag, helpFlag},
      [&arguments](const char* flag) { return contains(arguments, flag); });
}

std::optional<std::int32_t> UnattendedAccess::handleCommandIfPresent(Platform& platform) {
  const auto arguments = platform.process.arguments();
  if (contains(arguments, installFlag)) {
    return report(platform.process, [&] {
      install(platform, commandValue("name", arguments));
      return "Quorvin unattended access is enabled for \"" + deviceName(platform) +
             "\" and will start at login.\n";
    });
  }
  if (contains(arguments, removeFlag)) {
    return report(platform.process, [&] {
      remove(platform);
      return std::string("Quorvin unattended access is disabled for this Mac account.\n");
    });
  }
  if (contains(arguments, statusFlag)) {
    return report(platform.process, [&] {
      if (!isEnabled(platform)) return std::string("Quorvin unattended access is disabled.\n");
      return "Quorvin unattended access is enabled for \"" + deviceName(platform) + "\".\n";
    });
  }
  if (contains(arguments, helpFlag)) {
    return report(platform.process, [] { return std::string(usage); });
  }
  return std::nullopt;
}

std::optional<std::string> UnattendedAccess::commandValue(
    std::string_view name, const std::vector<std::string>& arguments) {
  const auto flag = "--" + std::string(name);
  const auto prefix = flag + "=";
  for (std::size_t index = 0; index < arguments.size(); ++index) {
    const auto& argument = arguments[index];
    if (argument == flag && index + 1 < arguments.size()) return arguments[index + 1];
    if (argument.starts_with(prefix)) return argument.substr(prefix.size());
  }
  return std::nullopt;
}

}  // namespace quorvin
