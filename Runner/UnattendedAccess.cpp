#include "Runner/UnattendedAccess.h"

#include <algorithm>
#include <cstddef>

#include "Runner/Whitespace.h"

namespace quorvin {

namespace {

constexpr auto unattendedArgument = "--unattended";
constexpr std::size_t deviceNameCharactersMax = 80;

}  // namespace

bool UnattendedAccess::unattendedRequested(Platform& platform) {
  return std::ranges::count(platform.process.arguments(), unattendedArgument) > 0;
}

bool UnattendedAccess::authorizedRun(Platform& platform) {
  return unattendedRequested(platform) && isEnabled(platform);
}

bool UnattendedAccess::isEnabled(Platform& platform) {
  return platform.userDefaults.boolForKey(enabledKey) && !deviceName(platform).empty();
}

std::string UnattendedAccess::deviceName(Platform& platform) {
  return normalize(platform.text,
                   platform.userDefaults.stringForKey(deviceNameKey).value_or(std::string()));
}

std::string UnattendedAccess::normalize(Text& text, std::string_view name) {
  std::string joined;
  for (const auto word : splitAtWhitespace(name)) {
    if (!joined.empty()) joined += ' ';
    joined += word;
  }
  return text.prefix(joined, deviceNameCharactersMax);
}

}  // namespace quorvin
