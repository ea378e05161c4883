#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

#include "platform/Dispatch.h"

namespace quorvin {

// The global queue: at most four threads, started when first needed. Any thread.
class DispatchPool final : public DispatchQueue {
 public:
  DispatchPool() = default;
  ~DispatchPool() override;

  // Drops the task once the pool is finished.
  void async(Task task) override;
  [[nodiscard]] bool isCurrent() const override;

  // Runs what is queued, takes nothing more and joins the threads. Not on one of them.
  void finish();

 private:
  void run();

  std::condition_variable changed;
  std::mutex mutex;  // guards everything below
  std::deque<Task> tasks;
  std::vector<std::thread> threads;
  std::size_t idleThreads = 0;
  bool isFinished = false;
};

}  // namespace quorvin
