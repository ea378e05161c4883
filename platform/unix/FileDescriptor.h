#pragma once

#include <unistd.h>

#include <utility>

namespace quorvin {

// Owns one file descriptor and closes it.
class FileDescriptor {
 public:
  FileDescriptor() = default;
  explicit FileDescriptor(int number) : number(number) {}
  FileDescriptor(FileDescriptor&& other) noexcept : number(std::exchange(other.number, -1)) {}
  FileDescriptor& operator=(FileDescriptor&& other) noexcept {
    if (this != &other) {
      reset();
      number = std::exchange(other.number, -1);
    }
    return *this;
  }
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;
  ~FileDescriptor() { reset(); }

  [[nodiscard]] int get() const { return number; }
  [[nodiscard]] bool isOpen() const { return number >= 0; }
  // Hands the descriptor on to somebody who closes it.
  [[nodiscard]] int release() { return std::exchange(number, -1); }
  void reset() {
    if (number >= 0) ::close(number);
    number = -1;
  }

 private:
  int number = -1;
};

}  // namespace quorvin
