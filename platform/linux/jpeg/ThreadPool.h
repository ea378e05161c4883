#pragma once

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <thread>
#include <vector>

#include "platform/Mutex.h"

namespace quorvin {

// Threads that share a piece of work with the one that has it to do. One thread at a time.
class ThreadPool {
 public:
  // So many threads beside the caller's, or as many as the system has to give.
  explicit ThreadPool(std::size_t helpers);
  ~ThreadPool();

  // Calls `work` once with each number below `count`, on whichever thread is free, and returns when
  // all calls have. `work` must not throw.
  void parallelFor(std::size_t count, const std::function<void(std::size_t)>& work);

 private:
  void help();
  // Lets go of the mutex while it works.
  void workOff() QUORVIN_REQUIRES(mutex);

  Mutex mutex;
  std::condition_variable begun;
  std::condition_variable done;
  const std::function<void(std::size_t)>* current QUORVIN_GUARDED_BY(mutex) = nullptr;
  std::size_t next QUORVIN_GUARDED_BY(mutex) = 0;
  std::size_t end QUORVIN_GUARDED_BY(mutex) = 0;
  std::size_t unfinished QUORVIN_GUARDED_BY(mutex) = 0;
  bool isEnding QUORVIN_GUARDED_BY(mutex) = false;

  std::vector<std::thread> threads;
};

}  // namespace quorvin
