#include "platform/linux/jpeg/WorkerTeam.h"

#include <pthread.h>

#include <system_error>

namespace quorvin {

WorkerTeam::WorkerTeam(std::size_t helpers) {
  threads.reserve(helpers);
  try {
    for (std::size_t i = 0; i < helpers; ++i) threads.emplace_back([this] { help(); });
  } catch (const std::system_error&) {
    // Fewer do as well, and so does none.
  }
}

WorkerTeam::~WorkerTeam() {
  {
    const std::scoped_lock lock(mutex);
    isEnding = true;
  }
  begun.notify_all();
  for (auto& thread : threads) thread.join();
}

void WorkerTeam::run(std::size_t count, const std::function<void(std::size_t)>& work) {
  std::unique_lock lock(mutex);
  current = &work;
  next = 0;
  end = count;
  unfinished = count;
  // Whoever is woken wants the lock at once, and would only go to sleep again.
  lock.unlock();
  if (count > 1) begun.notify_all();
  lock.lock();
  workOff(lock);
  done.wait(lock, [this] { return unfinished == 0; });
}

void WorkerTeam::help() {
  pthread_setname_np(pthread_self(), "jpeg");
  std::unique_lock lock(mutex);
  while (!isEnding) {
    workOff(lock);
    begun.wait(lock, [this] { return isEnding || next < end; });
  }
}

void WorkerTeam::workOff(std::unique_lock<std::mutex>& lock) {
  while (next < end) {
    const std::size_t number = next++;
    const auto& work = *current;
    lock.unlock();
    work(number);
    lock.lock();
    if (--unfinished > 0) continue;
    lock.unlock();
    done.notify_one();
    lock.lock();
  }
}

}  // namespace quorvin
