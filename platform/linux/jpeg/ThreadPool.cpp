#include "platform/linux/jpeg/ThreadPool.h"

#include <pthread.h>

#include <system_error>

namespace quorvin {

ThreadPool::ThreadPool(std::size_t helpers) {
  threads.reserve(helpers);
  try {
    for (std::size_t i = 0; i < helpers; ++i) threads.emplace_back([this] { help(); });
  } catch (const std::system_error&) {
    // Fewer do as well, and so does none.
  }
}

ThreadPool::~ThreadPool() {
  {
    const MutexLock lock(mutex);
    isEnding = true;
  }
  begun.notify_all();
  for (auto& thread : threads) thread.join();
}

void ThreadPool::parallelFor(std::size_t count, const std::function<void(std::size_t)>& work) {
  MutexLock lock(mutex);
  current = &work;
  next = 0;
  end = count;
  unfinished = count;
  // Whoever is woken wants the lock at once, and would only go to sleep again.
  mutex.unlock();
  if (count > 1) begun.notify_all();
  mutex.lock();
  workOff();
  done.wait(lock.forWaiting(), [this]() QUORVIN_REQUIRES(mutex) { return unfinished == 0; });
}

void ThreadPool::help() {
  pthread_setname_np(pthread_self(), "jpeg");
  MutexLock lock(mutex);
  while (!isEnding) {
    workOff();
    begun.wait(lock.forWaiting(),
               [this]() QUORVIN_REQUIRES(mutex) { return isEnding || next < end; });
  }
}

void ThreadPool::workOff() {
  while (next < end) {
    const std::size_t number = next++;
    const auto& work = *current;
    mutex.unlock();
    work(number);
    mutex.lock();
    if (--unfinished > 0) continue;
    mutex.unlock();
    done.notify_one();
    mutex.lock();
  }
}

}  // namespace quorvin
