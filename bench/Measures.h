#pragma once

#include <sys/types.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <vector>

namespace quorvin {

// How much of something a benchmark does: the first to prove that it runs, the second where
// QUORVIN_MEASURE is set, for numbers worth reading.
[[nodiscard]] inline int effort(int proof, int measurement) {
  return std::getenv("QUORVIN_MEASURE") == nullptr ? proof : measurement;
}

// Throws std::out_of_range when there are none.
[[nodiscard]] inline double median(std::vector<double> values) {
  std::ranges::sort(values);
  return values.at(values.size() / 2);
}

template <typename Duration>
[[nodiscard]] double milliseconds(Duration duration) {
  return std::chrono::duration<double, std::milli>(duration).count();
}

template <typename Duration>
[[nodiscard]] double seconds(Duration duration) {
  return std::chrono::duration<double>(duration).count();
}

// The time that processors have spent so far on all threads, also ended ones, of a process and of
// the processes that it started, as far as those still run. Throws std::runtime_error when there
// is no such process.
[[nodiscard]] std::chrono::nanoseconds processorTimeOf(pid_t process);
// Of this process.
[[nodiscard]] std::chrono::nanoseconds ownProcessorTime();
// Of the calling thread, and of all others of this process that have not ended.
[[nodiscard]] std::chrono::nanoseconds ownThreadTime();
[[nodiscard]] std::chrono::nanoseconds otherThreadsTime();

}  // namespace quorvin
