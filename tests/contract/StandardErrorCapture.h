#pragma once

#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <string>
#include <system_error>
#include <vector>

namespace quorvin::contract {

// Takes over standard error while it exists. A datagram socket keeps the writes apart, which a pipe
// would not.
class StandardErrorCapture {
 public:
  StandardErrorCapture() {
    std::array<int, 2> ends{};
    if (::socketpair(AF_UNIX, SOCK_DGRAM, 0, ends.data()) != 0) fail();
    reader = ends[0];
    constexpr int bufferBytes = 1 << 17;
    ::setsockopt(ends[1], SOL_SOCKET, SO_SNDBUF, &bufferBytes, sizeof bufferBytes);
    original = ::dup(STDERR_FILENO);
    if (original < 0 || ::dup2(ends[1], STDERR_FILENO) < 0) fail();
    ::close(ends[1]);
  }
  StandardErrorCapture(const StandardErrorCapture&) = delete;
  StandardErrorCapture& operator=(const StandardErrorCapture&) = delete;
  ~StandardErrorCapture() {
    ::dup2(original, STDERR_FILENO);
    ::close(original);
    ::close(reader);
  }

  // Makes standard error a pipe whose reader is gone.
  void leave() const {
    std::array<int, 2> ends{};
    if (::pipe(ends.data()) != 0) fail();
    ::close(ends[0]);
    if (::dup2(ends[1], STDERR_FILENO) < 0) fail();
    ::close(ends[1]);
  }

  // The writes since the last call.
  [[nodiscard]] std::vector<std::string> take() const {
    std::vector<std::string> writes;
    std::array<char, 1 << 16> bytes{};
    for (;;) {
      const auto count = ::recv(reader, bytes.data(), bytes.size(), MSG_DONTWAIT);
      if (count < 0) return writes;
      writes.emplace_back(bytes.data(), static_cast<std::size_t>(count));
    }
  }

 private:
  [[noreturn]] static void fail() { throw std::system_error(errno, std::generic_category()); }

  int original = -1;
  int reader = -1;
};

}  // namespace quorvin::contract
