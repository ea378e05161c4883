#include "platform/linux/system/TextFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

#include "platform/unix/FileDescriptor.h"

namespace quorvin {
namespace {

// Up to `bytesMax` bytes; -1 after an error.
ssize_t readFully(int descriptor, char* bytes, std::size_t bytesMax) {
  std::size_t filled = 0;
  while (filled < bytesMax) {
    const ssize_t count = read(descriptor, bytes + filled, bytesMax - filled);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) return -1;
    if (count == 0) break;
    filled += static_cast<std::size_t>(count);
  }
  return static_cast<ssize_t>(filled);
}

}  // namespace

std::optional<std::string> readTextFile(const std::string& path, std::size_t bytesMax) {
  // Without O_NONBLOCK a named pipe would hold up the open.
  const FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  struct stat status {};
  if (!file.isOpen() || fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode)) return {};
  // The size may be out of date by now, or 0 for a file that the kernel makes up.
  std::string content(bytesMax + 1, '\0');
  const ssize_t length = readFully(file.get(), content.data(), content.size());
  if (length < 0 || static_cast<std::size_t>(length) > bytesMax) return {};
  content.resize(static_cast<std::size_t>(length));
  return content;
}

}  // namespace quorvin
