#pragma once

#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
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

// Rouses a thread that waits in poll; see eventfd(2). Any thread.
class EventFd {
 public:
  // Throws std::system_error when no descriptor is left.
  EventFd() : counter(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (!counter.isOpen()) throw std::system_error(errno, std::generic_category(), "eventfd");
  }

  // This and the next can only fail when the counter is full or empty, and then there is nothing
  // left to do.
  void signal() { eventfd_write(counter.get(), 1); }
  // Forgets the signals so far; `descriptor` is readable from the first one after that.
  void clear() {
    eventfd_t ignored = 0;
    eventfd_read(counter.get(), &ignored);
  }
  [[nodiscard]] int descriptor() const { return counter.get(); }

 private:
  FileDescriptor counter;
};

}  // namespace quorvin
