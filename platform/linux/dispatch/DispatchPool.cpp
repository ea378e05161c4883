#include "platform/linux/dispatch/DispatchPool.h"

#include <pthread.h>

#include <system_error>
#include <utility>

namespace quorvin {
namespace {

constexpr std::size_t threadsMax = 4;

thread_local const DispatchPool* poolOfThisThread = nullptr;

}  // namespace

DispatchPool::DispatchPool() {
  const MutexLock lock(mutex);
  addThread();
}

DispatchPool::~DispatchPool() {
  finish();
}

void DispatchPool::async(Task task) {
  const MutexLock lock(mutex);
  if (isFinished) return;
  tasks.push_back(std::move(task));
  if (tasks.size() > idleThreads && threads.size() < threadsMax) {
    try {
      addThread();
    } catch (const std::system_error&) {
      // Those that are there do as well.
    }
  }
  changed.notify_one();
}

void DispatchPool::addThread() {
  threads.emplace_back([this] { run(); });
}

bool DispatchPool::isCurrent() const {
  return poolOfThisThread == this;
}

void DispatchPool::finish() {
  std::vector<std::thread> ending;
  {
    const MutexLock lock(mutex);
    isFinished = true;
    threads.swap(ending);
  }
  changed.notify_all();
  for (auto& thread : ending) thread.join();
}

void DispatchPool::run() {
  pthread_setname_np(pthread_self(), "global");
  poolOfThisThread = this;
  MutexLock lock(mutex);
  while (true) {
    ++idleThreads;
    changed.wait(lock.forWaiting(),
                 [this]() QUORVIN_REQUIRES(mutex) { return isFinished || !tasks.empty(); });
    --idleThreads;
    if (tasks.empty()) return;
    Task task = std::move(tasks.front());
    tasks.pop_front();
    mutex.unlock();
    task();
    task = nullptr;
    mutex.lock();
  }
}

}  // namespace quorvin
