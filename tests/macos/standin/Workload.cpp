#include "tests/macos/standin/Workload.h"

#include <chrono>

namespace standin {

void Workload::end(std::int64_t count) {
  if (running.fetch_sub(count, std::memory_order_release) == count) wake();
}

void Workload::wake() {
  const std::lock_guard guard(mutex);
  changed.notify_all();
}

bool Workload::wait(const std::function<bool()>& condition) {
  std::unique_lock lock(mutex);
  return changed.wait_for(lock, std::chrono::minutes(1), condition);
}

Workload& workload() {
  static auto& theWorkload = *new Workload;
  return theWorkload;
}

}  // namespace standin
