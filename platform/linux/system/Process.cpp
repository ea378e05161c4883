#include "platform/linux/system/Process.h"

#include <fcntl.h>
#include <gio/gio.h>
#include <glib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <utility>

#include "platform/linux/system/Activity.h"
#include "platform/linux/system/PosixError.h"
#include "platform/unix/GlibPtr.h"
#include "platform/unix/ProgramStart.h"
#include "platform/unix/SpawnSetup.h"

namespace quorvin {
namespace {

// The argument vector that exec takes: pointers to the texts, and a null.
std::vector<char*> argumentVector(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  pointers.reserve(texts.size() + 1);
  for (auto& text : texts) pointers.push_back(text.data());
  pointers.push_back(nullptr);
  return pointers;
}

std::int32_t waitForEnd(pid_t process) {
  int status = 0;
  while (waitpid(process, &status, 0) < 0 && errno == EINTR) {
  }
  return WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status);
}

// The user's bus where systemd or its like put it, unless the environment names another.
std::string sessionBusAddress() {
  auto address = environmentVariable("DBUS_SESSION_BUS_ADDRESS");
  const auto runtimeFolder = environmentVariable("XDG_RUNTIME_DIR");
  if (!address.empty() || runtimeFolder.empty()) return address;
  const auto socket = runtimeFolder + "/bus";
  std::error_code ignored;
  if (!std::filesystem::is_socket(socket, ignored)) return {};
  const GlibPtr<char> escaped(g_dbus_address_escape_value(socket.c_str()));
  return std::string("unix:path=") + escaped.get();
}

void writeOnce(int descriptor, std::string_view bytes) {
  while (write(descriptor, bytes.data(), bytes.size()) < 0 && errno == EINTR) {
  }
}

}  // namespace

std::int32_t runProgram(const std::string& path, const std::vector<std::string>& arguments) {
  std::vector<std::string> texts{path};
  texts.insert(texts.end(), arguments.begin(), arguments.end());
  const auto vector = argumentVector(texts);
  pid_t process = 0;
  SpawnSetup setup;
  for (const int handle : {STDOUT_FILENO, STDERR_FILENO}) {
    posix_spawn_file_actions_addopen(&setup.actions, handle, "/dev/null", O_WRONLY, 0);
  }
  const int error = posix_spawn(&process, path.c_str(), &setup.actions, &setup.attributes,
                                vector.data(), environ);
  if (error != 0) throw posixError(path, "started", error);
  return waitForEnd(process);
}

ActivityServices ActivityServices::fromEnvironment() {
  return {.display = environmentVariable("DISPLAY"), .busAddress = sessionBusAddress()};
}

LinuxProcess::LinuxProcess(std::vector<std::string> arguments, ActivityServices services,
                           std::string launchctlProgram, AccountLock* lock)
    : argumentList(std::move(arguments)),
      services(std::move(services)),
      launchctlProgram(std::move(launchctlProgram)),
      lock(lock) {}

std::string LinuxProcess::launchctlFromEnvironment(const std::string& executable) {
  auto named = environmentVariable("QUORVIN_LAUNCHCTL");
  if (!named.empty()) return named;
  return std::filesystem::path(executable).replace_filename("quorvin-launchctl");
}

std::vector<std::string> LinuxProcess::arguments() {
  return argumentList;
}

void LinuxProcess::exit(int status) {
  std::exit(status);
}

void LinuxProcess::writeToStandardOutput(std::string_view utf8) {
  writeOnce(STDOUT_FILENO, utf8);
}

void LinuxProcess::writeToStandardError(std::string_view utf8) {
  writeOnce(STDERR_FILENO, utf8);
}

std::uint32_t LinuxProcess::userID() {
  return getuid();
}

std::int32_t LinuxProcess::runTask(const std::string& executablePath,
                                   const std::vector<std::string>& arguments) {
  if (executablePath != "/bin/launchctl") return runProgram(executablePath, arguments);
  if (lock != nullptr) lock->takeIfThere();
  return runProgram(launchctlProgram, arguments);
}

// Linux slows no process down for being in the background, so the options change nothing.
std::shared_ptr<ActivityToken> LinuxProcess::beginActivity(std::uint64_t /*options*/,
                                                           const std::string& reason) {
  return std::make_shared<Activity>(services, reason);
}

void LinuxProcess::endActivity(const std::shared_ptr<ActivityToken>& token) {
  if (const auto activity = std::dynamic_pointer_cast<Activity>(token)) activity->end();
}

bool LinuxProcess::isMacOSAtLeast(int /*major*/, int /*minor*/) {
  return false;
}

}  // namespace quorvin
