#include "platform/linux/system/AccountLock.h"

#include <fcntl.h>
#include <glib.h>
#include <sys/file.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <thread>
#include <utility>

#include "platform/linux/system/PosixError.h"

namespace quorvin {
namespace {

constexpr std::chrono::seconds lockTimeout{5};
constexpr std::chrono::milliseconds pauseBetweenTries{10};

void makePrivate(const std::filesystem::path& folder) {
  using std::filesystem::perms;
  if (g_mkdir_with_parents(folder.c_str(), static_cast<int>(perms::owner_all)) != 0) {
    throw posixError(folder.string(), "created", errno);
  }
  std::error_code ignored;
  std::filesystem::permissions(folder, perms::group_all | perms::others_all,
                               std::filesystem::perm_options::remove, ignored);
}

Error heldByAnother(const std::string& path) {
  return {"com.quorvin.support.posix", EWOULDBLOCK,
          "Another process is changing the settings and holds " + path +
              ". Wait until it has ended, or end it, then try again."};
}

}  // namespace

AccountLock::AccountLock(std::string path) : path(std::move(path)) {}

void AccountLock::take() {
  if (refusal) throw Error(*refusal);
  if (held.isOpen()) return;
  makePrivate(std::filesystem::path(path).parent_path());
  const int makingIt = wasMissing ? O_CREAT | O_EXCL : O_CREAT;
  FileDescriptor opened(open(path.c_str(), O_RDWR | O_CLOEXEC | makingIt, 0600));
  if (!opened.isOpen() && errno == EEXIST) throw heldByAnother(path);
  if (!opened.isOpen()) throw posixError(path, "opened", errno);
  waitForTurn(std::move(opened));
}

void AccountLock::takeIfThere() {
  if (refusal) throw Error(*refusal);
  if (held.isOpen()) return;
  FileDescriptor opened(open(path.c_str(), O_RDWR | O_CLOEXEC));
  wasMissing = !opened.isOpen() && (errno == ENOENT || errno == ENOTDIR);
  // What else keeps it from being opened is said when something is to be changed.
  if (opened.isOpen()) waitForTurn(std::move(opened));
}

void AccountLock::waitForTurn(FileDescriptor opened) {
  const auto deadline = std::chrono::steady_clock::now() + lockTimeout;
  while (flock(opened.get(), LOCK_EX | LOCK_NB) != 0) {
    const bool isTaken = errno == EWOULDBLOCK;
    if (!isTaken && errno != EINTR) refusal = posixError(path, "locked", errno);
    if (isTaken && std::chrono::steady_clock::now() > deadline) refusal = heldByAnother(path);
    if (refusal) throw Error(*refusal);
    std::this_thread::sleep_for(pauseBetweenTries);
  }
  held = std::move(opened);
}

}  // namespace quorvin
