#include "platform/unix/ProgramStart.h"

#include <fcntl.h>
#include <pthread.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdio>
#include <future>
#include <stdexcept>
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

[[noreturn]] void refuse(const std::string& reason) {
  throw std::runtime_error(std::string(uiDescriptorVariable) + " " + reason + ".");
}

int parseNumber(const std::string& text) {
  int number = -1;
  const auto* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || stop != end || number < 0) refuse("is not a descriptor number");
  return number;
}

int socketOption(int descriptor, int option) {
  int value = 0;
  socklen_t size = sizeof(value);
  if (::getsockopt(descriptor, SOL_SOCKET, option, &value, &size) == 0) return value;
  refuse(errno == EBADF ? "names no open descriptor" : "does not name a socket");
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

const char* programVersion() {
  return QUORVIN_VERSION;
}

bool printVersion(std::string_view onlyArgument) {
  if (onlyArgument != "--version") return false;
  std::printf("Quorvin Support %s\n", programVersion());
  return true;
}

FileDescriptor takeInheritedUiSocket(const std::string& text) {
  const int number = parseNumber(text);
  if (socketOption(number, SO_TYPE) != SOCK_STREAM) refuse("does not name a stream socket");
  sockaddr_storage peer{};
  socklen_t size = sizeof(peer);
  if (::getpeername(number, reinterpret_cast<sockaddr*>(&peer), &size) != 0) {
    refuse("does not name a connected socket");
  }
  FileDescriptor socket(number);
  if (::fcntl(number, F_SETFD, FD_CLOEXEC) != 0) refuse("names a descriptor that is of no use");
  return socket;
}

}  // namespace quorvin
