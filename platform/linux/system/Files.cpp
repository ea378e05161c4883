#include "platform/linux/system/Files.h"

#include <glib.h>
#include <pwd.h>
#include <sys/auxv.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstdlib>
#include <string>
#include <system_error>
#include <utility>

#include "platform/linux/system/PosixError.h"
#include "platform/linux/system/WholeFile.h"
#include "platform/unix/ProgramStart.h"

namespace quorvin {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t fileBytesMax = 1 << 24;

[[noreturn]] void fail(const fs::path& path, const std::string& what, const std::error_code& code) {
  throw posixError(path.string(), what, code);
}

void requireSuccess(const fs::path& path, const std::string& what, const std::error_code& code) {
  if (code) fail(path, what, code);
}

// The same place, below the folder's given name; nothing when it does not lie in that folder. What
// is the same folder is asked of the file system: it may have several names, by links and mounts.
std::optional<fs::path> pathThrough(const fs::path& folder, const fs::path& path) {
  std::error_code ignored;
  for (auto above = path.parent_path(); above != above.root_path(); above = above.parent_path()) {
    if (fs::equivalent(above, folder, ignored)) return folder / path.lexically_relative(above);
  }
  return {};
}

}  // namespace

LinuxFiles::LinuxFiles(std::optional<fs::path> executable, AccountLock* lock)
    : executable(std::move(executable)), lock(lock) {}

void LinuxFiles::takeLock() const {
  if (lock != nullptr) lock->take();
}

std::optional<fs::path> LinuxFiles::executableOfProcess() {
  std::error_code error;
  auto running = fs::read_symlink("/proc/self/exe", error);
  if (error) return {};
  const auto* started = std::bit_cast<const char*>(getauxval(AT_EXECFN));
  if (started == nullptr || *started != '/') return running;
  return fs::equivalent(started, running, error) ? fs::path(started).lexically_normal() : running;
}

fs::path LinuxFiles::bundlePath() {
  if (!executable) return {};
  auto bundle = executable->parent_path();
  if (bundle.filename() == "Linux" && bundle.parent_path().filename() == "Contents") {
    bundle = bundle.parent_path().parent_path();
  }
  for (const fs::path& applications :
       {fs::path("/Applications"), homeDirectory() / "Applications"}) {
    if (const auto renamed = pathThrough(applications, bundle)) return *renamed;
  }
  return bundle;
}

std::optional<fs::path> LinuxFiles::executablePath() {
  return executable;
}

fs::path LinuxFiles::homeDirectoryForCurrentUser() {
  return homeDirectory();
}

fs::path LinuxFiles::homeDirectory() {
  fs::path home = environmentVariable("HOME");
  if (!home.is_absolute()) {
    const auto* account = getpwuid(getuid());
    home = account != nullptr ? account->pw_dir : "/";
  }
  const bool goesUp = std::ranges::find(home, "..") != home.end();
  std::error_code error;
  const auto resolved = goesUp ? fs::weakly_canonical(home, error) : home;
  return standardized(error ? home : resolved);
}

std::optional<fs::path> LinuxFiles::desktopDirectory() {
  const char* folder = g_get_user_special_dir(G_USER_DIRECTORY_DESKTOP);
  if (folder == nullptr) return {};
  return folder;
}

fs::path LinuxFiles::standardized(const fs::path& path) {
  const auto normal = path.lexically_normal();
  return normal.has_filename() ? normal : normal.parent_path();
}

void LinuxFiles::createDirectory(const fs::path& path) {
  constexpr int mode = 0755;
  takeLock();
  if (g_mkdir_with_parents(path.c_str(), mode) != 0)
    throw posixError(path.string(), "created", errno);
}

std::optional<Data> LinuxFiles::contents(const fs::path& path) {
  const auto content = readRegularFile(path, fileBytesMax);
  if (!content) return {};
  return Data(Bytes(content->begin(), content->end()));
}

void LinuxFiles::writeAtomically(std::span<const std::uint8_t> bytes, const fs::path& path) {
  takeLock();
  try {
    replaceFile(path, bytes);
  } catch (const std::system_error& error) {
    fail(path, "written", error.code());
  }
}

void LinuxFiles::removeItem(const fs::path& path) {
  takeLock();
  std::error_code error;
  if (fs::remove_all(path, error) == 0 && !error) {
    error = std::make_error_code(std::errc::no_such_file_or_directory);
  }
  requireSuccess(path, "removed", error);
}

bool LinuxFiles::fileExists(const fs::path& path) {
  std::error_code error;
  return fs::exists(path, error);
}

void LinuxFiles::createSymbolicLink(const fs::path& link, const fs::path& destination) {
  std::error_code error;
  fs::create_symlink(destination, link, error);
  requireSuccess(link, "created", error);
}

fs::path LinuxFiles::destinationOfSymbolicLink(const fs::path& link) {
  std::error_code error;
  auto destination = fs::read_symlink(link, error);
  requireSuccess(link, "read as a link", error);
  return destination;
}

}  // namespace quorvin
