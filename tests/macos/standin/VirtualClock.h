#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <utility>

namespace standin {

// Time that stands still until a test moves it, and what is to happen at its instants. In
// nanoseconds. Any thread, except where a function says otherwise.
class VirtualClock {
 public:
  // Not zero, which code may take for "never".
  static constexpr std::uint64_t start = 1'000'000'000'000;

  using AlarmId = std::pair<std::uint64_t, std::uint64_t>;

  // Without a lock, which would hide races between threads that look at the clock.
  [[nodiscard]] std::uint64_t now() const { return time.load(std::memory_order_relaxed); }
  // The alarm goes off once, on the main thread while the clock is moved. It must lie ahead.
  AlarmId addAlarm(std::uint64_t due, std::function<void()> alarm);
  void removeAlarm(const AlarmId& id);
  [[nodiscard]] std::size_t alarmCount() const;

  // Main thread. Moves to the next alarm and takes it, if there is one until `limit`; otherwise to
  // `limit`.
  [[nodiscard]] std::optional<std::function<void()>> moveTowards(std::uint64_t limit);
  // Main thread. Back to the start, without alarms.
  void reset();

 private:
  mutable std::mutex mutex;
  std::atomic<std::uint64_t> time = start;
  std::uint64_t alarmsMade = 0;
  std::map<AlarmId, std::function<void()>> alarms;
};

// That of the process.
VirtualClock& virtualClock();

}  // namespace standin
