#include "webui/BrowserLauncher.h"

#include <sys/socket.h>
#include <sys/wait.h>

#include <array>
#include <cstdlib>
#include <utility>

#include "webui/Browser.h"

namespace quorvin::webui {

namespace {

constexpr std::size_t pageBytesMax = 4096;

[[noreturn]] void carryOut(const FileDescriptor& orders) {
  std::array<char, pageBytesMax> page{};
  const auto size = ::recv(orders.get(), page.data(), page.size(), 0);
  char word = 0;
  if (size > 0 && ::recv(orders.get(), &word, sizeof word, 0) > 0) {
    openInBrowser(std::string(page.data(), static_cast<std::size_t>(size)));
  }
  ::_exit(EXIT_SUCCESS);
}

}  // namespace

BrowserLauncher::BrowserLauncher(const FileDescriptor& link) {
  std::array<int, 2> ends{};
  if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0) return;
  orders = FileDescriptor(ends[0]);
  const FileDescriptor taken(ends[1]);
  const pid_t child = ::fork();
  if (child == 0) {
    // A child of a child is not this process' to wait for.
    if (::fork() != 0) ::_exit(EXIT_SUCCESS);
    ::close(link.get());
    orders.reset();
    carryOut(taken);
  }
  if (child > 0) ::waitpid(child, nullptr, 0);
}

void BrowserLauncher::setPage(const std::string& page) {
  static_cast<void>(::send(orders.get(), page.data(), page.size(), MSG_NOSIGNAL));
}

void BrowserLauncher::open() {
  static_cast<void>(::send(orders.get(), "o", 1, MSG_NOSIGNAL));
}

}  // namespace quorvin::webui
