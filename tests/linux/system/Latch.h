#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>

namespace quorvin {

// Counts events of other threads and waits for them.
class Latch {
 public:
  void hit() {
    const std::lock_guard lock(mutex);
    ++hits;
    changed.notify_all();
  }
  // False when there were fewer hits within the time.
  [[nodiscard]] bool waitForHits(int count,
                                 std::chrono::milliseconds limit = std::chrono::seconds(20)) {
    std::unique_lock lock(mutex);
    return changed.wait_for(lock, limit, [&] { return hits >= count; });
  }
  [[nodiscard]] int count() {
    const std::lock_guard lock(mutex);
    return hits;
  }

 private:
  std::mutex mutex;
  std::condition_variable changed;
  int hits = 0;
};

}  // namespace quorvin
