#include "platform/unix/PrivateFolder.h"

#include <fcntl.h>
#include <glib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <system_error>

namespace quorvin {

namespace {

constexpr mode_t onlyMine = 0700;
constexpr mode_t others = 0077;

// As the call that was just made has left `errno`.
void check(bool isDone) {
  if (!isDone) throw std::system_error(errno, std::generic_category());
}

void checkOwner(bool isMine) {
  if (!isMine) throw std::system_error(EPERM, std::generic_category());
}

struct stat statusOf(const FileDescriptor& file) {
  struct stat found {};
  check(fstat(file.get(), &found) == 0);
  return found;
}

}  // namespace

PrivateFolder::PrivateFolder(const std::string& path) {
  check(g_mkdir_with_parents(path.c_str(), onlyMine) == 0);
  folder = FileDescriptor(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  check(folder.get() >= 0);
  checkOwner(statusOf(folder).st_uid == geteuid());
  check(fchmod(folder.get(), onlyMine) == 0);
}

void PrivateFolder::write(const std::string& name, const std::string& content) const {
  const auto newName = name + ".new";
  unlinkat(folder.get(), newName.c_str(), 0);
  const FileDescriptor file(openat(folder.get(), newName.c_str(),
                                   O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
  check(file.get() >= 0);
  check(::write(file.get(), content.data(), content.size()) ==
        static_cast<ssize_t>(content.size()));
  check(renameat(folder.get(), newName.c_str(), folder.get(), name.c_str()) == 0);
}

std::string PrivateFolder::read(const std::string& name) const {
  const FileDescriptor file(
      openat(folder.get(), name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  if (file.get() < 0 && errno == ENOENT) return {};
  check(file.get() >= 0);
  const auto status = statusOf(file);
  checkOwner(S_ISREG(status.st_mode) && status.st_uid == geteuid() &&
             (status.st_mode & others) == 0);
  std::array<char, 4096> content{};
  const auto size = ::read(file.get(), content.data(), content.size());
  check(size >= 0);
  return {content.data(), static_cast<std::size_t>(size)};
}

FileDescriptor PrivateFolder::hold(const std::string& name) const {
  FileDescriptor file(openat(folder.get(), name.c_str(),
                             O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC, 0600));
  check(file.get() >= 0);
  const auto status = statusOf(file);
  checkOwner(S_ISREG(status.st_mode) && status.st_uid == geteuid() && status.st_nlink == 1);
  check(fchmod(file.get(), 0600) == 0);
  return file;
}

void PrivateFolder::remove(const std::string& name) const noexcept {
  unlinkat(folder.get(), name.c_str(), 0);
}

}  // namespace quorvin
