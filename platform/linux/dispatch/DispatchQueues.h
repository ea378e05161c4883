#pragma once

#include <glib.h>

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "platform/Dispatch.h"
#include "platform/Mutex.h"
#include "platform/linux/dispatch/TaskQueue.h"

namespace quorvin {

// A queue whose tasks one thread runs. Any thread.
class LinuxDispatchQueue : public DispatchQueue {
 public:
  LinuxDispatchQueue(std::shared_ptr<TaskQueue> taskQueue, std::thread::id runner);

  void async(Task task) override;
  [[nodiscard]] bool isCurrent() const override;
  [[nodiscard]] const std::shared_ptr<TaskQueue>& taskQueue() const { return work; }

 private:
  const std::shared_ptr<TaskQueue> work;
  const std::thread::id runner;
};

// A timer on such a queue, which it keeps. Configured by one thread at a time.
class LinuxDispatchTimer final : public DispatchTimer {
 public:
  explicit LinuxDispatchTimer(std::shared_ptr<LinuxDispatchQueue> queue);
  ~LinuxDispatchTimer() override;

  void schedule(std::uint64_t deadlineNs, std::uint64_t repeatingNs,
                std::uint64_t leewayNs) override;
  void setEventHandler(Task handler) override;
  void resume() override;
  void cancel() override;

 private:
  const std::shared_ptr<LinuxDispatchQueue> queue;
  const std::shared_ptr<TaskQueue::Timer> timer;
};

// The references to a serial queue. The last one to go, on whichever thread, closes the task queue,
// so that the thread ends once it has run what was queued.
class SerialQueue final : public LinuxDispatchQueue {
 public:
  using LinuxDispatchQueue::LinuxDispatchQueue;
  ~SerialQueue() override;
};

// The thread that runs a serial queue; joined by the destructor, which may not run on it.
class SerialQueueThread {
 public:
  SerialQueueThread(const std::string& label, QualityOfService qos);
  ~SerialQueueThread();

  [[nodiscard]] std::shared_ptr<DispatchQueue> makeQueue();
  // Lets the thread end after the tasks it has. Any thread.
  void close() { taskQueue->close(); }
  // Whether joining it takes no time. Any thread.
  [[nodiscard]] bool hasEnded() const { return ended; }

 private:
  void run(const std::string& name, QualityOfService qos);

  const std::shared_ptr<TaskQueue> taskQueue = std::make_shared<TaskQueue>();
  std::atomic<bool> ended = false;
  std::thread thread;  // last, since it uses the others
};

// Drains a task queue on the main thread's thread-default GLib main context for as long as this
// object exists. Main thread.
//
// After each drain the source sits out one iteration of the context. So tasks that keep bringing
// further tasks do not starve other sources, not even those of lower priority.
class MainQueueSource {
 public:
  explicit MainQueueSource(TaskQueue& taskQueue);
  MainQueueSource(const MainQueueSource&) = delete;
  MainQueueSource& operator=(const MainQueueSource&) = delete;
  ~MainQueueSource();

  // What makes that context, when it sleeps, look at its sources again. Made on the main thread,
  // run on any.
  [[nodiscard]] static Task wakeContext();

 private:
  GSource* source;
};

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
