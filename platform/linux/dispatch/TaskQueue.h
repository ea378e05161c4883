#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <vector>

#include "platform/Dispatch.h"
#include "platform/Mutex.h"

namespace quorvin {

// CLOCK_MONOTONIC, which stands still while the machine sleeps.
[[nodiscard]] std::uint64_t monotonicNanoseconds();

// The first of dueNs + n * repeatingNs after `nowNs`, which is not before dueNs: whatever was
// missed is one fire. UINT64_MAX, which stands for never, when there is no interval.
[[nodiscard]] std::uint64_t nextFireNs(std::uint64_t dueNs, std::uint64_t repeatingNs,
                                       std::uint64_t nowNs);

// The run loop of one thread, the runner: the tasks given to it, in order, and the timers that fire
// on it. Everything but the runner's members may be called on any thread. Tasks and handlers are
// run and released without a lock held.
class TaskQueue {
 public:
  // One timer; its fields belong to the queue that made it.
  class Timer;

  // `wakeRunner` wakes a runner that sleeps elsewhere than in waitForWork.
  explicit TaskQueue(Task wakeRunner = {});
  ~TaskQueue();

  // Drops the task once the queue is closed.
  void push(Task task);

  [[nodiscard]] static std::shared_ptr<Timer> makeTimer();
  void schedule(Timer& timer, std::uint64_t deadlineNs, std::uint64_t repeatingNs);
  void setHandler(Timer& timer, Task handler);
  void resume(const std::shared_ptr<Timer>& timer);
  void cancel(const std::shared_ptr<Timer>& timer);

  // From now on takes no tasks and fires no timers; the tasks it holds are still run.
  void close();
  // Closes, and drops the tasks as well.
  void discard();

  // Runner. Sleeps until there is something to run; false when closed and out of tasks.
  [[nodiscard]] bool waitForWork();
  // Runner. When there is something to run: a time that has passed, one to come, or nothing.
  [[nodiscard]] std::optional<std::uint64_t> nextDueNs();
  // Runner. Runs the tasks that are there now, and then the timers that are due by now. A task that
  // was queued before a timer was due runs before that timer. So a timer that watches over the
  // arrival of tasks finds none late that only had to wait, for a slow task or a stopped process.
  void drainOnce();

 private:
  using Timers = std::vector<std::shared_ptr<Timer>>;

  void wake();
  [[nodiscard]] std::optional<std::uint64_t> nextDueLocked() const QUORVIN_REQUIRES(mutex);
  [[nodiscard]] std::shared_ptr<const Task> takeDueHandler(std::uint64_t turnNs);

  const Task wakeRunner;
  std::condition_variable changed;
  Mutex mutex;  // guards the fields of the timers, too
  std::deque<Task> tasks QUORVIN_GUARDED_BY(mutex);
  // Those resumed and not cancelled. A queue has one or two, so they are searched, not sorted.
  Timers timers QUORVIN_GUARDED_BY(mutex);
  bool isClosed QUORVIN_GUARDED_BY(mutex) = false;
};

}  // namespace quorvin
