#pragma once

#include <sys/types.h>

#include <chrono>

namespace quorvin {

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
