#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "tests/macos/frameworks/Foundation/FileSupport.h"

namespace standin {
namespace {

class FileDescriptor {
 public:
  explicit FileDescriptor(int number) : number(number) {}
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;
  ~FileDescriptor() {
    if (number >= 0) close(number);
  }
  [[nodiscard]] bool isOpen() const { return number >= 0; }
  [[nodiscard]] int get() const { return number; }

 private:
  int number;
};

FileFailure failure(const std::string& path, FileFailure::Kind kind) {
  return {.errnoValue = errno, .path = path, .kind = kind};
}

bool writeAll(int file, std::string_view bytes) {
  while (!bytes.empty()) {
    const auto written = write(file, bytes.data(), bytes.size());
    if (written < 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
  return true;
}

// Beside the file, whose mode it takes over.
FileOutcome writeTemporary(const std::string& temporary, const std::string& path,
                           std::string_view bytes) {
  struct stat old {};
  const bool existed = lstat(path.c_str(), &old) == 0;
  const FileDescriptor file(
      open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, existed ? 0200 : 0666));
  if (!file.isOpen() || !writeAll(file.get(), bytes) ||
      (existed && fchmod(file.get(), old.st_mode & 07777) != 0)) {
    return failure(path, FileFailure::Kind::writing);
  }
  return std::nullopt;
}

}  // namespace

FileOutcome readFile(const std::string& path, std::string& bytes) {
  const FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
  if (!file.isOpen()) return failure(path, FileFailure::Kind::reading);
  char buffer[4096];
  for (;;) {
    const auto count = read(file.get(), buffer, sizeof buffer);
    if (count < 0) return failure(path, FileFailure::Kind::reading);
    if (count == 0) return std::nullopt;
    bytes.append(buffer, static_cast<std::size_t>(count));
  }
}

FileOutcome writeFile(const std::string& path, std::string_view bytes) {
  const auto temporary = joined(folderOf(path), ".dat.nosync" + std::to_string(getpid()));
  if (auto outcome = writeTemporary(temporary, path, bytes)) {
    if (outcome->errnoValue != EEXIST) unlink(temporary.c_str());
    return outcome;
  }
  if (std::rename(temporary.c_str(), path.c_str()) == 0) return std::nullopt;
  auto outcome = failure(path, FileFailure::Kind::writing);
  unlink(temporary.c_str());
  return outcome;
}

}  // namespace standin
