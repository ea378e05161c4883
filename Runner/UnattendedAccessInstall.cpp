// The login agent of unattended access: how it is installed, all or nothing, and removed.

#include <filesystem>
#include <functional>
#include <utility>

#include "Runner/InstalledCopy.h"
#include "Runner/UnattendedAccess.h"
#include "platform/Error.h"

namespace quorvin {

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
