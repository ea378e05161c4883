#pragma once

#include <chrono>
#include <cstdint>
#include <ctime>
#include <fstream>

namespace quorvin {

// How long this thread has waited for something other than a processor: what a call that may not
// wait is measured by, since a busy machine keeps any call from running for any time.
class WaitingTime {
 public:
  [[nodiscard]] std::chrono::nanoseconds passed() const { return now() - start; }

 private:
  static std::chrono::nanoseconds now() {
    timespec worked{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &worked);
    std::int64_t ignored = 0;
    std::int64_t readyNs = 0;  // that it was ready to run and did not; see proc(5)
    std::ifstream("/proc/thread-self/schedstat") >> ignored >> readyNs;
    return std::chrono::steady_clock::now().time_since_epoch() -
           std::chrono::seconds(worked.tv_sec) - std::chrono::nanoseconds(worked.tv_nsec + readyNs);
  }

  std::chrono::nanoseconds start = now();
};

}  // namespace quorvin
