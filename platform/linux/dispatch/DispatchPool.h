#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <thread>
#include <vector>

#include "platform/Dispatch.h"
#include "platform/Mutex.h"

namespace quorvin {

// The global queue: one thread from the start, so that what it takes is done, and up to three more
// when needed, if the system has them. Any thread.
class DispatchPool final : public DispatchQueue {
 public:
  // Throws std::system_error when there is no first thread.
  DispatchPool();
  ~DispatchPool() override;

  // Drops the task once the pool is finished.
  void async(Task task) override;
  [[nodiscard]] bool isCurrent() const override;

  // Runs what is queued, takes nothing more and joins the threads. Not on one of them.
  void finish();

 private:
  void addThread() QUORVIN_REQUIRES(mutex);
  void run();

  std::condition_variable changed;
  Mutex mutex;
  std::deque<Task> tasks QUORVIN_GUARDED_BY(mutex);
  std::vector<std::thread> threads QUORVIN_GUARDED_BY(mutex);
  std::size_t idleThreads QUORVIN_GUARDED_BY(mutex) = 0;
  bool isFinished QUORVIN_GUARDED_BY(mutex) = false;
};

}  // namespace quorvin
