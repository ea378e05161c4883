#include "launchctl/CommandLine.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "launchctl/LaunchctlError.h"

namespace quorvin::launchctl {
namespace {

constexpr std::string_view guiDomain = "gui/";
// The other kinds of domain that launchctl(1) knows.
constexpr std::array<std::string_view, 5> otherDomains{"system", "user/", "login/", "session/",
                                                       "pid/"};

[[noreturn]] void failUsage(const std::string& reason) {
  throw LaunchctlError(ExitStatus::usage, reason + "; see quorvin-launchctl --help");
}

bool isNumber(std::string_view text) {
  return !text.empty() &&
         std::ranges::all_of(text, [](char letter) { return letter >= '0' && letter <= '9'; });
}

void requireOwnDomain(std::string_view domain, unsigned int userId) {
  const auto own = std::string(guiDomain) + std::to_string(userId);
  if (domain == own) return;
  if (domain.starts_with(guiDomain) && isNumber(domain.substr(guiDomain.size()))) {
    throw LaunchctlError(ExitStatus::noSuchDomain,
                         std::string(domain) + " is another user's login; yours is " + own);
  }
  const bool isKnown = std::ranges::any_of(
      otherDomains, [domain](std::string_view other) { return domain.starts_with(other); });
  if (isKnown) {
    throw LaunchctlError(ExitStatus::unsupportedDomain,
                         "there is no domain " + std::string(domain) + " here; use " + own);
  }
  failUsage("\"" + std::string(domain) + "\" is not a domain; yours is " + own);
}

Request fileRequest(Command command, const std::vector<std::string>& arguments,
                    unsigned int userId) {
  if (arguments.size() != 3 || arguments[2].empty()) failUsage("a domain and a file are needed");
  requireOwnDomain(arguments[1], userId);
  return {command, arguments[2]};
}

}  // namespace

Request parseCommandLine(const std::vector<std::string>& arguments, unsigned int userId) {
  if (arguments.empty()) failUsage("a command is needed");
  const auto& command = arguments.front();
  if (command == "bootstrap") return fileRequest(Command::bootstrap, arguments, userId);
  if (command == "bootout") return fileRequest(Command::bootout, arguments, userId);
  if (arguments.size() == 1 && command == "--help") return {Command::help, {}};
  if (arguments.size() == 1 && command == "--version") return {Command::version, {}};
  failUsage("\"" + command + "\" is not a command");
}

std::string usageText() {
  return "usage: quorvin-launchctl bootstrap gui/UID FILE\n"
         "       quorvin-launchctl bootout gui/UID FILE\n"
         "       quorvin-launchctl --help | --version\n"
         "\n"
         "Registers the agent that the property list FILE describes with the graphical login of\n"
         "this user, or unregisters it. UID is the user's number, as \"id -u\" prints it. The\n"
         "manual page quorvin-launchctl(1) says the rest.\n";
}

}  // namespace quorvin::launchctl
