#include "platform/linux/dispatch/TaskQueue.h"

#include <algorithm>
#include <cassert>
#include <chrono>
#include <ctime>
#include <limits>
#include <utility>

namespace quorvin {
namespace {

constexpr std::uint64_t never = std::numeric_limits<std::uint64_t>::max();

std::chrono::steady_clock::time_point timePoint(std::uint64_t uptimeNs) {
  constexpr auto latest =
      static_cast<std::uint64_t>(std::numeric_limits<std::chrono::nanoseconds::rep>::max());
  return std::chrono::steady_clock::time_point(
      std::chrono::nanoseconds(std::min(uptimeNs, latest)));
}

}  // namespace

class TaskQueue::Timer {
 public:
  std::uint64_t dueNs = never;
  std::uint64_t repeatingNs = 0;
  bool isCancelled = false;
  // Shared, so that a handler that cancels or replaces itself lives until it returns.
  std::shared_ptr<const Task> handler;
};

std::uint64_t monotonicNanoseconds() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<std::uint64_t>(now.tv_sec) * 1'000'000'000U +
         static_cast<std::uint64_t>(now.tv_nsec);
}

std::uint64_t nextFireNs(std::uint64_t dueNs, std::uint64_t repeatingNs, std::uint64_t nowNs) {
  if (repeatingNs == 0) return never;
  const auto periods = (nowNs - dueNs) / repeatingNs + 1;
  if (periods > (never - dueNs) / repeatingNs) return never;
  return dueNs + periods * repeatingNs;
}

TaskQueue::TaskQueue(Task wakeRunner) : wakeRunner(std::move(wakeRunner)) {}

TaskQueue::~TaskQueue() {
  assert(tasks.empty());
}

void TaskQueue::wake() {
  changed.notify_one();
  if (wakeRunner) wakeRunner();
}

void TaskQueue::push(Task task) {
  bool wasIdle = false;
  {
    const MutexLock lock(mutex);
    if (isClosed) return;
    wasIdle = tasks.empty();
    tasks.push_back(std::move(task));
  }
  // A runner with tasks left does not sleep.
  if (wasIdle) wake();
}

std::shared_ptr<TaskQueue::Timer> TaskQueue::makeTimer() {
  return std::make_shared<Timer>();
}

void TaskQueue::schedule(Timer& timer, std::uint64_t deadlineNs, std::uint64_t repeatingNs) {
  {
    const MutexLock lock(mutex);
    timer.dueNs = deadlineNs;
    timer.repeatingNs = repeatingNs;
  }
  wake();
}

void TaskQueue::setHandler(Timer& timer, Task handler) {
  auto shared = std::make_shared<const Task>(std::move(handler));
  const MutexLock lock(mutex);
  timer.handler.swap(shared);
}

void TaskQueue::resume(const std::shared_ptr<Timer>& timer) {
  {
    const MutexLock lock(mutex);
    if (isClosed || timer->isCancelled || std::ranges::count(timers, timer) > 0) return;
    timers.push_back(timer);
  }
  wake();
}

void TaskQueue::cancel(const std::shared_ptr<Timer>& timer) {
  std::shared_ptr<const Task> released;
  const MutexLock lock(mutex);
  timer->isCancelled = true;
  timer->handler.swap(released);
  std::erase(timers, timer);
}

void TaskQueue::close() {
  Timers released;
  {
    const MutexLock lock(mutex);
    isClosed = true;
    timers.swap(released);
  }
  wake();
}

void TaskQueue::discard() {
  close();
  std::deque<Task> dropped;
  const MutexLock lock(mutex);
  tasks.swap(dropped);
}

std::optional<std::uint64_t> TaskQueue::nextDueLocked() const {
  if (!tasks.empty()) return 0;
  std::uint64_t dueNs = never;
  for (const auto& timer : timers) dueNs = std::min(dueNs, timer->dueNs);
  if (dueNs == never) return std::nullopt;
  return dueNs;
}

std::optional<std::uint64_t> TaskQueue::nextDueNs() {
  const MutexLock lock(mutex);
  return nextDueLocked();
}

bool TaskQueue::waitForWork() {
  MutexLock lock(mutex);
  while (true) {
    const auto dueNs = nextDueLocked();
    if (dueNs && *dueNs <= monotonicNanoseconds()) return true;
    if (isClosed) return false;
    if (dueNs) {
      changed.wait_until(lock.forWaiting(), timePoint(*dueNs));
    } else {
      changed.wait(lock.forWaiting());
    }
  }
}

std::shared_ptr<const Task> TaskQueue::takeDueHandler(std::uint64_t turnNs) {
  const MutexLock lock(mutex);
  const auto earlier = [](const auto& a, const auto& b) {
    return a->dueNs < b->dueNs;
  };
  while (!timers.empty()) {
    Timer& timer = **std::ranges::min_element(timers, earlier);
    if (timer.dueNs > turnNs) break;
    timer.dueNs = nextFireNs(timer.dueNs, timer.repeatingNs, monotonicNanoseconds());
    if (timer.handler != nullptr) return timer.handler;
  }
  return nullptr;
}

void TaskQueue::drainOnce() {
  std::deque<Task> turn;
  std::uint64_t turnNs = 0;
  {
    const MutexLock lock(mutex);
    turn.swap(tasks);
    turnNs = monotonicNanoseconds();
  }
  while (!turn.empty()) {
    turn.front()();
    // Also releases what the task held, before the next one runs.
    turn.pop_front();
  }
  while (const auto handler = takeDueHandler(turnNs)) (*handler)();
}

}  // namespace quorvin
