#include "bench/Measures.h"

#include <unistd.h>

#include <cstdint>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace quorvin {

namespace {

std::chrono::nanoseconds timeOn(clockid_t clock) {
  timespec time{};
  if (::clock_gettime(clock, &time) != 0) throw std::runtime_error("no processor time");
  return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

std::filesystem::directory_iterator tasksOf(pid_t process) {
  return std::filesystem::directory_iterator("/proc/" + std::to_string(process) + "/task");
}

std::vector<pid_t> childrenOf(pid_t process) {
  std::vector<pid_t> children;
  for (const auto& task : tasksOf(process)) {
    std::ifstream list(task.path() / "children");
    for (pid_t child = 0; list >> child;) children.push_back(child);
  }
  return children;
}

}  // namespace

std::chrono::nanoseconds processorTimeOf(pid_t process) {
  clockid_t clock = 0;
  if (::clock_getcpuclockid(process, &clock) != 0) throw std::runtime_error("no such process");
  auto total = timeOn(clock);
  for (const auto child : childrenOf(process)) total += processorTimeOf(child);
  return total;
}

std::chrono::nanoseconds ownProcessorTime() {
  return timeOn(CLOCK_PROCESS_CPUTIME_ID);
}

std::chrono::nanoseconds ownThreadTime() {
  return timeOn(CLOCK_THREAD_CPUTIME_ID);
}

// The difference of the two clocks above would be off by what the process clock lags behind.
std::chrono::nanoseconds otherThreadsTime() {
  std::chrono::nanoseconds total{0};
  for (const auto& task : tasksOf(::getpid())) {
    if (task.path().filename() == std::to_string(::gettid())) continue;
    std::int64_t ran = 0;
    std::ifstream(task.path() / "schedstat") >> ran;
    total += std::chrono::nanoseconds(ran);
  }
  return total;
}

}  // namespace quorvin
