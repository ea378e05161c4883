#pragma once

#include <atomic>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace standin {

using Work = std::function<void()>;

enum class QueueKind { main, serial, concurrent };

inline constexpr auto mainQueueLabel = "com.apple.main-thread";

// What a dispatch queue does. Any thread, except where a function says otherwise.
//
// A serial queue that has tasks runs them on a thread of its own, which ends when it is empty, and
// a concurrent queue starts a thread for every task. So no lock is shared between queues that the
// code under test keeps apart.
class TaskQueue : public std::enable_shared_from_this<TaskQueue> {
 public:
  TaskQueue(std::string label, QueueKind kind);
  TaskQueue(const TaskQueue&) = delete;
  TaskQueue& operator=(const TaskQueue&) = delete;

  const std::string label;
  const QueueKind kind;

  void async(Work work);

  // A queue object of the code under test stands for this queue. Tasks still run after it has gone.
  void setOwned(bool shallOwn) { owned = shallOwn; }
  [[nodiscard]] bool isOwned() const { return owned; }

  // While held, tasks gather and none begins.
  void setHeld(bool shallHold);

  // Main thread, main queue. Runs one task; false when none waits.
  bool runOne();
  [[nodiscard]] bool hasReadyTask();

  void setSpecific(const void* key, void* value);
  [[nodiscard]] void* specific(const void* key);

 private:
  void start();
  void drain();
  void startThread(Work work);
  bool takeNext(Work& work);

  std::mutex mutex;
  std::deque<Work> waiting;
  bool isRunning = false;
  bool isHeld = false;
  std::shared_ptr<TaskQueue> keptByTasks;  // this queue, while it is held and has tasks
  std::atomic<bool> owned = false;

  std::mutex specificMutex;
  std::map<const void*, void*> specifics;
};

// Makes a queue that hold() can find.
std::shared_ptr<TaskQueue> makeQueue(std::string label, QueueKind kind);
const std::shared_ptr<TaskQueue>& mainQueue();
// The queue whose task runs on this thread, the innermost one; the main queue on the main thread
// outside any task; none elsewhere.
[[nodiscard]] TaskQueue* currentQueue();

// Runs the work in an autorelease pool of its own, and ends what it holds, also where a function
// that was moved from would keep it.
void runInPool(Work&& work);

// Resumes every held label.
void releaseHeldQueues();
// Labels of the queues that still have a queue object.
[[nodiscard]] std::vector<std::string> ownedQueueLabels();

}  // namespace standin
