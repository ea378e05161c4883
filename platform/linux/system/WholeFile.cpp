#include "platform/linux/system/WholeFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <optional>
#include <random>
#include <string>
#include <system_error>

#include "platform/unix/FileDescriptor.h"

namespace quorvin {

std::optional<std::string> readRegularFile(const std::filesystem::path& path,
                                           std::size_t bytesMax) {
  // Without O_NONBLOCK a named pipe would hold up the open.
  const FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  struct stat status {};
  if (!file.isOpen() || fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) return {};
  // The size may be out of date by now, or 0 for a file that the kernel makes up.
  std::string content;
  std::array<char, 16'384> part{};
  while (content.size() <= bytesMax) {
    const ssize_t count = read(file.get(), part.data(), part.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return {};
    if (count == 0) return content;
    content.append(part.data(), static_cast<std::size_t>(count));
  }
  return {};
}

namespace {

// For its owner alone to write: a program that only obeys such files is to obey this one, too.
constexpr mode_t newFileMode = 0644;
constexpr mode_t unfinishedMode = 0200;  // until the file gets its permissions
constexpr int namesTriedMax = 7;

void requireSuccess(bool isSuccess) {
  if (!isSuccess) throw std::system_error(errno, std::generic_category());
}

std::optional<mode_t> modeOfRegularFile(const std::filesystem::path& path) {
  struct stat status {};
  if (lstat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return {};
  return status.st_mode & 07777U;
}

// A new file in a folder. It is removed again unless it is renamed.
class TemporaryFile {
 public:
  TemporaryFile(const std::filesystem::path& folder, mode_t mode) {
    std::random_device random;
    for (int tries = 0; tries < namesTriedMax && !file.isOpen(); ++tries) {
      path = folder / (".quorvin-" + std::to_string(random()));
      file = FileDescriptor(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode));
      if (!file.isOpen() && errno != EEXIST) break;
    }
    requireSuccess(file.isOpen());
  }
  ~TemporaryFile() {
    if (!path.empty()) unlink(path.c_str());
  }

  void write(std::span<const std::uint8_t> bytes) const {
    while (!bytes.empty()) {
      const auto count = ::write(file.get(), bytes.data(), bytes.size());
      if (count < 0 && errno == EINTR) continue;
      requireSuccess(count >= 0);
      bytes = bytes.subspan(static_cast<std::size_t>(count));
    }
  }
  void setMode(mode_t mode) const { requireSuccess(fchmod(file.get(), mode) == 0); }
  void sync() const { requireSuccess(fsync(file.get()) == 0); }
  void renameTo(const std::filesystem::path& target) {
    requireSuccess(std::rename(path.c_str(), target.c_str()) == 0);
    path.clear();
  }

 private:
  std::filesystem::path path;
  FileDescriptor file;
};

// Brings the new name to the disk. The file stands by now, so a failure is none of the writing.
void syncFolder(const std::filesystem::path& folder) {
  const FileDescriptor descriptor(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (descriptor.isOpen()) fsync(descriptor.get());
}

}  // namespace

void replaceFile(const std::filesystem::path& path, std::span<const std::uint8_t> bytes,
                 std::optional<mode_t> mode) {
  const auto folder = path.parent_path();
  if (!mode) mode = modeOfRegularFile(path);
  TemporaryFile file(folder, mode ? unfinishedMode : newFileMode);
  file.write(bytes);
  if (mode) file.setMode(*mode);
  file.sync();
  file.renameTo(path);
  syncFolder(folder);
}

}  // namespace quorvin
