#pragma once

#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <thread>
#include <utility>

#include "platform/Dispatch.h"

namespace quorvin {

// A serial queue on a thread of its own that can be made to stand still.
class ThreadQueue final : public DispatchQueue {
 public:
  ThreadQueue() : thread([this] { run(); }) {}
  ~ThreadQueue() override {
    {
      const std::scoped_lock lock(mutex);
      ended = true;
      changed.notify_all();
    }
    thread.join();
  }

  void async(Task task) override {
    const std::scoped_lock lock(mutex);
    tasks.push_back(std::move(task));
    changed.notify_all();
  }
  [[nodiscard]] bool isCurrent() const override {
    return std::this_thread::get_id() == thread.get_id();
  }

  void halt() { setHalted(true); }
  void resume() { setHalted(false); }
  // False when so many tasks did not gather in time.
  [[nodiscard]] bool waitForTasks(std::size_t count, std::chrono::seconds limit) {
    std::unique_lock lock(mutex);
    return changed.wait_for(lock, limit, [&] { return tasks.size() >= count; });
  }

 private:
  void setHalted(bool value) {
    const std::scoped_lock lock(mutex);
    halted = value;
    changed.notify_all();
  }

  void run() {
    for (;;) {
      Task task;
      {
        std::unique_lock lock(mutex);
        changed.wait(lock, [this] { return ended || (!halted && !tasks.empty()); });
        if (ended) return;
        task = std::move(tasks.front());
        tasks.pop_front();
      }
      task();
    }
  }

  std::mutex mutex;
  std::condition_variable changed;
  std::deque<Task> tasks;
  bool halted = false;
  bool ended = false;
  std::thread thread;
};

}  // namespace quorvin
