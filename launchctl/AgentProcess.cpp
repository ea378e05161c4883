#include "launchctl/AgentProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <string_view>
#include <system_error>

#include "launchctl/Failure.h"
#include "launchctl/FileDescriptor.h"
#include "launchctl/ProcessIdentity.h"

extern "C" {  // glibc 2.36 does not say so itself
#include <sys/pidfd.h>
}

namespace quorvin::launchctl {
namespace {

std::string reasonOf(int error) {
  return std::generic_category().message(error);
}

// The process itself, not whoever has its number later; closed when it is not there any more.
FileDescriptor openProcess(const std::string& record) {
  const auto identity = identityFromText(record);
  if (!identity) return FileDescriptor(-1);
  FileDescriptor process(::pidfd_open(identity->pid, 0));
  // Asked only now: what is open stays the same process.
  if (identityOf(identity->pid) != identity) process.close();
  return process;
}

bool endsWithin(const FileDescriptor& process, std::chrono::milliseconds time) {
  const auto deadline = std::chrono::steady_clock::now() + time;
  while (true) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(
        std::max(deadline - std::chrono::steady_clock::now(), std::chrono::nanoseconds::zero()));
    pollfd ended{process.get(), POLLIN, 0};
    const int count = ::poll(&ended, 1, static_cast<int>(left.count()));
    if (count >= 0 || errno != EINTR) return count > 0;
  }
}

void leaveTerminal() {
  ::setsid();
  const FileDescriptor nothing(::open("/dev/null", O_RDWR | O_CLOEXEC));
  for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    ::dup2(nothing.get(), standard);
  }
  // A folder that it keeps could not be unmounted.
  if (::chdir("/") != 0) throw Failure("cannot enter the root folder: " + reasonOf(errno));
}

// Runs in the child; what goes wrong before the program is there is said on that descriptor.
[[noreturn]] void becomeOrReport(const AgentProcess& agent, const std::vector<std::string>& program,
                                 int report) {
  try {
    leaveTerminal();
    agent.become(program);
  } catch (const std::exception& failure) {
    const std::string_view reason = failure.what();
    if (::write(report, reason.data(), reason.size()) < 0) ::_exit(EXIT_FAILURE);
  }
  ::_exit(EXIT_FAILURE);
}

// Everything until the other end is closed, as exec does.
std::string readReport(int descriptor) {
  std::string report;
  std::array<char, 512> chunk{};
  while (true) {
    const auto count = ::read(descriptor, chunk.data(), chunk.size());
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return report;
    report.append(chunk.data(), static_cast<std::size_t>(count));
  }
}

}  // namespace

bool AgentProcess::isRunning() const {
  return openProcess(record.content()).isOpen();
}

void AgentProcess::start(const std::vector<std::string>& program) const {
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) throw Failure("no pipe: " + reasonOf(errno));
  const FileDescriptor reports(ends[0]);
  FileDescriptor reporting(ends[1]);
  const pid_t child = ::fork();
  if (child < 0) throw Failure("no process for the agent: " + reasonOf(errno));
  if (child == 0) becomeOrReport(*this, program, reporting.get());
  reporting.close();
  const auto report = readReport(reports.get());
  if (report.empty()) return;
  ::waitpid(child, nullptr, 0);
  record.remove();
  throw Failure(report);
}

void AgentProcess::become(const std::vector<std::string>& program) const {
  const auto self = identityOf(::getpid());
  if (!self) throw Failure("cannot read /proc; mount it, or log in to a session with systemd");
  record.replace(toText(*self));
  auto words = program;
  std::vector<char*> arguments(words.size() + 1, nullptr);
  std::ranges::transform(words, arguments.begin(), [](auto& word) { return word.data(); });
  ::execv(arguments.front(), arguments.data());
  throw Failure("cannot start " + program.front() + ": " + reasonOf(errno));
}

void AgentProcess::end(std::chrono::milliseconds grace) const {
  constexpr std::chrono::seconds killing{5};
  const auto process = openProcess(record.content());
  if (process.isOpen()) {
    ::pidfd_send_signal(process.get(), SIGTERM, nullptr, 0);
    if (!endsWithin(process, grace)) ::pidfd_send_signal(process.get(), SIGKILL, nullptr, 0);
    if (!endsWithin(process, killing)) {
      throw Failure("the agent's process has not ended; end it by hand, then try again");
    }
  }
  record.remove();
}

}  // namespace quorvin::launchctl
