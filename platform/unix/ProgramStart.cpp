#include "platform/unix/ProgramStart.h"

#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <future>
#include <system_error>
#include <thread>
#include <vector>

namespace quorvin {
namespace {

void fillStandardDescriptors() {
  for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (::fcntl(standard, F_GETFD) != -1 || errno != EBADF) continue;
    // The lowest free number it gets is this one.
    if (::open("/dev/null", O_RDWR) != standard) std::_Exit(EXIT_FAILURE);
  }
}

void unblockSignals() {
  sigset_t none;
  sigemptyset(&none);
  ::pthread_sigmask(SIG_SETMASK, &none, nullptr);
  // Whoever ignores it is never told how a child ended.
  std::signal(SIGCHLD, SIG_DFL);
}

// By handlers that do nothing: what is ignored would stay so in programs that are started from
// here.
void surviveWrites() {
  struct sigaction nothing {};
  nothing.sa_handler = [](int) {
  };
  nothing.sa_flags = SA_RESTART;
  for (const int signal : {SIGPIPE, SIGXFSZ}) ::sigaction(signal, &nothing, nullptr);
}

}  // namespace

void prepareProcess() {
  fillStandardDescriptors();
  unblockSignals();
  surviveWrites();
}

void requireThreads(std::size_t count) {
  std::promise<void> end;
  std::vector<std::jthread> threads;
  threads.reserve(count);
  const auto release = end.get_future().share();
  try {
    while (threads.size() < count) threads.emplace_back([release] { release.wait(); });
  } catch (const std::system_error& error) {
    end.set_value();
    throw std::system_error(error.code(), "the system has too few threads left");
  }
  end.set_value();
}

}  // namespace quorvin
