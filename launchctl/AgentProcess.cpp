#include "launchctl/AgentProcess.h"

#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>

#include "launchctl/LaunchctlError.h"
#include "platform/unix/FileDescriptor.h"

extern "C" {  // glibc 2.36 does not say so itself
#include <sys/pidfd.h>
}

namespace quorvin::launchctl {
namespace {

using Clock = std::chrono::steady_clock;

bool isOwn(const std::filesystem::path& process) {
  struct stat state {};
  return ::stat(process.c_str(), &state) == 0 && state.st_uid == ::getuid();
}

// None of a process that has ended or belongs to the kernel. Each is terminated by a NUL.
std::vector<std::string> argumentsOf(const std::filesystem::path& process) {
  std::vector<std::string> arguments;
  std::ifstream file(process / "cmdline", std::ios::binary);
  for (std::string argument; std::getline(file, argument, '\0');) arguments.push_back(argument);
  return arguments;
}

bool isEndedBy(const FileDescriptor& process, Clock::time_point deadline) {
  while (true) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(
        std::max(deadline - Clock::now(), Clock::duration::zero()));
    pollfd ended{process.get(), POLLIN, 0};
    const int count = ::poll(&ended, 1, static_cast<int>(left.count()));
    if (count >= 0 || errno != EINTR) return count > 0;
  }
}

}  // namespace

void endProcesses(const std::function<bool(const std::vector<std::string>&)>& isMeant,
                  std::chrono::milliseconds timeout) {
  constexpr std::chrono::seconds killing{5};
  std::vector<FileDescriptor> processes;
  std::error_code ignored;
  for (const auto& entry : std::filesystem::directory_iterator("/proc", ignored)) {
    const int number = std::atoi(entry.path().filename().c_str());
    if (number <= 0 || !isOwn(entry.path())) continue;
    // Opened before it is looked at, so that it stays this process when the number becomes
    // another's.
    FileDescriptor process(::pidfd_open(number, 0));
    const auto arguments = argumentsOf(entry.path());
    if (!process.isOpen() || arguments.empty() || !isMeant(arguments)) continue;
    ::pidfd_send_signal(process.get(), SIGTERM, nullptr, 0);
    processes.push_back(std::move(process));
  }
  const auto deadline = Clock::now() + timeout;
  for (const auto& process : processes) {
    if (isEndedBy(process, deadline)) continue;
    ::pidfd_send_signal(process.get(), SIGKILL, nullptr, 0);
    if (!isEndedBy(process, Clock::now() + killing)) {
      throw LaunchctlError("the agent's process has not ended; end it by hand, then try again");
    }
  }
}

}  // namespace quorvin::launchctl
