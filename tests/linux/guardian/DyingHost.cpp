#include "tests/linux/guardian/DyingHost.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <stdexcept>
#include <utility>

#include "tests/ChildProgram.h"

namespace quorvin {
namespace {

struct Pipe {
  FileDescriptor read;
  FileDescriptor write;
};

Pipe makePipe() {
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  return {FileDescriptor(ends[0]), FileDescriptor(ends[1])};
}

}  // namespace

DyingHost::DyingHost(const std::string& display, const Work& work) {
  auto result = makePipe();
  auto errors = makePipe();
  process = forkChild();
  if (process < 0) throw std::runtime_error("no process");
  if (process == 0) run(display, work, std::move(result.write), std::move(errors.write));
  result.write.reset();
  errorOutput = std::move(errors.read);
  char said = 0;
  isWell = ::read(result.read.get(), &said, 1) == 1 && said == 1;
}

DyingHost::~DyingHost() {
  if (process > 0) end(SIGKILL);
}

void DyingHost::run(const std::string& display, const Work& work, FileDescriptor result,
                    FileDescriptor errors) {
  ::setpgid(0, 0);
  ::dup2(errors.release(), STDERR_FILENO);
  ::setenv("DISPLAY", display.c_str(), 1);
  bool done = false;
  GuardianJournal journal(g_main_context_default(), QUORVIN_INPUT_GUARDIAN);
  try {
    ScreenInput input(display);
    done = work(journal, input);
    const char said = done ? 1 : 0;
    if (::write(result.get(), &said, 1) != 1) ::_exit(1);
    for (;;) g_main_context_iteration(nullptr, TRUE);
  } catch (const std::exception&) {
    ::_exit(1);
  }
}

void DyingHost::end(int signal) {
  end(process, signal);
}

void DyingHost::endGroup(int signal) {
  end(-process, signal);
}

void DyingHost::end(pid_t target, int signal) {
  ::kill(target, signal);
  while (::waitpid(process, nullptr, 0) < 0 && errno == EINTR) {
  }
  process = -1;
}

bool DyingHost::allAreGone() {
  const auto deadline = std::chrono::steady_clock::now() + timeout;
  pollfd source{.fd = errorOutput.get(), .events = POLLIN, .revents = 0};
  std::array<char, 256> said{};
  while (std::chrono::steady_clock::now() < deadline) {
    if (::poll(&source, 1, 100) > 0 && ::read(source.fd, said.data(), said.size()) == 0)
      return true;
  }
  return false;
}

pid_t DyingHost::guardian() const {
  const auto children = childrenOf(process);
  return children.size() == 1 ? children.front() : -1;
}

}  // namespace quorvin
