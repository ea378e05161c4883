#include "tests/e2e/link/HostProcess.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <ctime>
#include <fstream>
#include <thread>
#include <utility>

#include "tests/ChildProgram.h"

namespace quorvin {

HostProcess::HostProcess(Launch launch) : errors(::memfd_create("standard error", MFD_CLOEXEC)) {
  launch.arguments.insert(launch.arguments.begin(), launch.program);
  std::ranges::reverse(launch.environment);  // the first of a name is what a program finds
  const FileDescriptor silence(::open("/dev/null", O_WRONLY | O_CLOEXEC));
  std::vector<std::pair<int, int>> descriptors = {{silence.get(), STDOUT_FILENO},
                                                  {errors.get(), STDERR_FILENO}};
  if (launch.link.isOpen()) descriptors.emplace_back(launch.link.get(), 3);
  process = startProgram({.words = std::move(launch.arguments),
                          .environment = std::move(launch.environment),
                          .descriptors = std::move(descriptors),
                          .hasOwnGroup = launch.hasOwnGroup});
}

HostProcess::~HostProcess() {
  if (status) return;
  send(SIGKILL);
  ::waitpid(process, nullptr, 0);
}

void HostProcess::send(int signal) const {
  ::kill(process, signal);
}

std::optional<int> HostProcess::statusWithin(std::chrono::milliseconds within) {
  const auto deadline = std::chrono::steady_clock::now() + within;
  while (!status) {
    int ended = 0;
    if (::waitpid(process, &ended, WNOHANG) == process) {
      status = WIFEXITED(ended) ? WEXITSTATUS(ended) : 128 + WTERMSIG(ended);
    } else if (std::chrono::steady_clock::now() > deadline) {
      return std::nullopt;
    } else {
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
  }
  return status;
}

std::string HostProcess::errorOutput() const {
  std::string output;
  std::array<char, 4096> chunk{};
  ssize_t count = 0;
  while ((count = ::pread(errors.get(), chunk.data(), chunk.size(),
                          static_cast<off_t>(output.size()))) > 0) {
    output.append(chunk.data(), static_cast<std::size_t>(count));
  }
  return output;
}

std::size_t HostProcess::residentBytes() const {
  std::ifstream file("/proc/" + std::to_string(process) + "/statm");
  std::size_t total = 0;
  std::size_t resident = 0;
  file >> total >> resident;
  return resident * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
}

std::chrono::milliseconds HostProcess::processorTime() const {
  clockid_t clock = 0;
  timespec time{};
  if (::clock_getcpuclockid(process, &clock) != 0 || ::clock_gettime(clock, &time) != 0) return {};
  return std::chrono::duration_cast<std::chrono::milliseconds>(
      std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec));
}

}  // namespace quorvin
