#include "Runner/UnattendedAccess.h"

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <utility>

#include "Runner/InstalledCopy.h"
#include "Runner/Whitespace.h"
#include "platform/Error.h"

namespace quorvin {

namespace {

constexpr auto unattendedArgument = "--unattended";
constexpr std::size_t deviceNameCharactersMax = 80;

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

bool UnattendedAccess::unattendedRequested(Platform& platform) {
  return contains(platform.process.arguments(), unattendedArgument);
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

// --- The commands

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

// --- The login agent: installed, all or nothing, and removed

namespace {

constexpr auto agentLabel = "com.quorvin.support.unattended";
constexpr auto agentFileName = "com.quorvin.support.unattended.plist";
constexpr auto launchctl = "/bin/launchctl";

// What an install changes, as it was before.
struct Snapshot {
  bool enabled;
  std::optional<std::string> deviceName;
  std::optional<Data> agentFile;
};

Error failure(const std::string& message) {
  return {"com.quorvin.support.unattended", 1, message};
}

void ignoringErrors(const std::function<void()>& step) {
  try {
    step();
  } catch (const Error&) {
    // Whatever went wrong, there is nothing better to do than to go on.
  }
}

std::filesystem::path agentFolder(Files& files) {
  return files.homeDirectoryForCurrentUser() / "Library" / "LaunchAgents";
}

// The graphical login of this user (launchctl(1)).
std::string launchDomain(Process& process) {
  return "gui/" + std::to_string(process.userID());
}

// Where the installed executable is. Throws unless the running copy is one that stays there.
std::filesystem::path installedExecutable(Files& files) {
  const bool isInstalled = isInstalledCopy(files);
  const auto executable = isInstalled ? files.executablePath() : std::nullopt;
  if (!executable) {
    throw failure(
        "Move Quorvin Support to Applications and run the setup command from that installed copy.");
  }
  return *executable;
}

// The agent has nobody to ask for permissions, so they have to be there already.
void requirePermissions(Permissions& permissions) {
  if (!permissions.preflightScreenCaptureAccess() || !permissions.isProcessTrusted()) {
    throw failure(
        "Open Quorvin Support once and allow Screen Recording and Accessibility before enabling "
        "unattended access.");
  }
}

std::string chooseName(Platform& platform, const std::optional<std::string>& requestedName) {
  const auto normalized = [&platform](const std::optional<std::string>& name) {
    return UnattendedAccess::normalize(platform.text, name.value_or(std::string()));
  };
  auto requested = normalized(requestedName);
  auto computers = normalized(platform.permissions.copyComputerName());
  auto chosen = std::move(requested.empty() ? computers : requested);
  if (chosen.empty()) throw failure("A device name is required. Use --name \"My Mac\".");
  return chosen;
}

// launchd.plist(5)
Value agentPropertyList(const std::filesystem::path& executable) {
  return Map{{"Label", agentLabel},
             {"ProgramArguments", List{executable.string(), "--unattended"}},
             {"RunAtLoad", true},
             {"KeepAlive", true},
             {"ProcessType", "Interactive"},
             {"LimitLoadToSessionType", "Aqua"}};
}

// Registers the agent of that file with the user's login, or unregisters it.
class Registration {
 public:
  Registration(Platform& platform, std::filesystem::path file)
      : platform(platform), domain(launchDomain(platform.process)), file(std::move(file)) {}

  void bootstrap() { run("bootstrap", /*requireSuccess=*/true); }
  void bootstrapIfPossible() {
    ignoringErrors([this] { run("bootstrap", /*requireSuccess=*/false); });
  }
  // Fails as a rule when there is nothing registered.
  void bootoutIfPossible() {
    ignoringErrors([this] { run("bootout", /*requireSuccess=*/false); });
  }

 private:
  void run(const char* command, bool requireSuccess) {
    UnattendedAccess::runLaunchctl(platform, {command, domain, file.string()}, requireSuccess);
  }

  Platform& platform;
  std::string domain;
  std::filesystem::path file;
};

Snapshot takeSnapshot(Platform& platform, const std::filesystem::path& agentFile) {
  auto& defaults = platform.userDefaults;
  // Read in this order.
  const bool enabled = defaults.boolForKey(UnattendedAccess::enabledKey);
  auto deviceName = defaults.stringForKey(UnattendedAccess::deviceNameKey);
  return {enabled, std::move(deviceName), platform.files.contents(agentFile)};
}

void restore(Platform& platform, const std::filesystem::path& agentFile, const Snapshot& previous) {
  auto& defaults = platform.userDefaults;
  ignoringErrors([&] {
    if (previous.agentFile) {
      platform.files.writeAtomically(previous.agentFile->bytes(), agentFile);
    } else {
      platform.files.removeItem(agentFile);
    }
  });
  defaults.setBool(previous.enabled, UnattendedAccess::enabledKey);
  if (previous.deviceName) {
    defaults.setString(*previous.deviceName, UnattendedAccess::deviceNameKey);
  } else {
    defaults.removeObject(UnattendedAccess::deviceNameKey);
  }
  ignoringErrors([&] { defaults.synchronize(); });
}

}  // namespace

void UnattendedAccess::install(Platform& platform,
                               const std::optional<std::string>& requestedName) {
  const auto executable = installedExecutable(platform.files);
  requirePermissions(platform.permissions);
  const auto name = chooseName(platform, requestedName);
  const auto folder = agentFolder(platform.files);
  platform.files.createDirectory(folder);
  const auto agentFile = folder / agentFileName;
  const auto propertyList = platform.propertyList.xmlData(agentPropertyList(executable));
  Registration registration(platform, agentFile);

  const auto previous = takeSnapshot(platform, agentFile);
  registration.bootoutIfPossible();
  try {
    platform.files.writeAtomically(propertyList.bytes(), agentFile);
    platform.userDefaults.setBool(true, enabledKey);
    platform.userDefaults.setString(name, deviceNameKey);
    platform.userDefaults.synchronize();  // before the agent starts: it reads them
    registration.bootstrap();
  } catch (const Error&) {
    restore(platform, agentFile, previous);
    if (previous.agentFile) registration.bootstrapIfPossible();
    throw;
  }
}

void UnattendedAccess::remove(Platform& platform) {
  const auto agentFile = agentFolder(platform.files) / agentFileName;
  Registration(platform, agentFile).bootoutIfPossible();
  if (platform.files.fileExists(agentFile)) platform.files.removeItem(agentFile);
  platform.userDefaults.removeObject(enabledKey);
  platform.userDefaults.removeObject(deviceNameKey);
  platform.userDefaults.synchronize();
}

std::int32_t UnattendedAccess::runLaunchctl(Platform& platform,
                                            const std::vector<std::string>& arguments,
                                            bool requireSuccess) {
  const auto status = platform.process.runTask(launchctl, arguments);
  if (requireSuccess && status != 0) {
    throw failure("macOS could not register the login startup item.");
  }
  return status;
}

}  // namespace quorvin
