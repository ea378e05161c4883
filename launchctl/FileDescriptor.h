#pragma once

#include <unistd.h>

#include <utility>

namespace quorvin::launchctl {

// Owns one file descriptor, or none when the number is negative, and closes it.
class FileDescriptor {
 public:
  explicit FileDescriptor(int number) : number(number) {}
  FileDescriptor(FileDescriptor&& other) noexcept : number(std::exchange(other.number, -1)) {}
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;
  ~FileDescriptor() { close(); }

  [[nodiscard]] int get() const { return number; }
  [[nodiscard]] bool isOpen() const { return number >= 0; }
  void close() {
    if (number >= 0) ::close(number);
    number = -1;
  }

 private:
  int number;
};

}  // namespace quorvin::launchctl
