#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>

namespace standin {

// How much is waiting or running off the main thread, and where the main thread waits for it.
//
// The count is kept so that a thread which ends a piece of work tells the main thread everything it
// did, and other threads nothing: their missing synchronization stays visible to the thread
// sanitizer.
class Workload {
 public:
  void begin(std::int64_t count = 1) { running.fetch_add(count, std::memory_order_relaxed); }
  void end(std::int64_t count = 1);
  [[nodiscard]] bool isIdle() const { return running.load(std::memory_order_acquire) == 0; }

  // Lets the main thread look again.
  void wake();
  // Main thread. Returns when `condition` holds, or false after a minute without it.
  [[nodiscard]] bool wait(const std::function<bool()>& condition);

 private:
  std::atomic<std::int64_t> running = 0;
  std::mutex mutex;
  std::condition_variable changed;
};

// That of the process.
Workload& workload();

}  // namespace standin
