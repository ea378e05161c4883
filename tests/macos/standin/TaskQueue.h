#pragma once

#include <atomic>
#include <condition_variable>
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
  TaskQueue(std::string label, unsigned qos, QueueKind kind);
  TaskQueue(const TaskQueue&) = delete;
  TaskQueue& operator=(const TaskQueue&) = delete;
  ~TaskQueue();

  const std::string label;
  const unsigned qos;
  const QueueKind kind;

  void async(Work work);
  // Runs the work on the calling thread, with the queue to itself; the main queue's work runs on
  // the main thread.
  void sync(const Work& work);

  // A queue object of the code under test stands for this queue. Tasks still run after it has gone.
  void setOwned(bool shallOwn) { owned = shallOwn; }
  [[nodiscard]] bool isOwned() const { return owned; }

  // While held, tasks gather and none begins.
  void setHeld(bool shallHold);

  // Main thread, main queue. Runs one task; false when none waits.
  bool runOne();
  [[nodiscard]] bool hasReadyTask();

  using Destructor = void (*)(void*);
  void setSpecific(const void* key, void* value, Destructor destructor);
  [[nodiscard]] void* specific(const void* key);

 private:
  // A thread that waits in sync() for its turn.
  struct Turn {
    std::mutex mutex;
    std::condition_variable granted;
    bool isGranted = false;
  };
  struct Entry {
    Work work;
    std::shared_ptr<Turn> turn;
  };
  struct Specific {
    void* value = nullptr;
    Destructor destructor = nullptr;
  };

  void add(Entry entry);
  void start();
  void drain();
  void startThread(Entry entry);
  bool takeNext(Entry& entry);
  std::shared_ptr<Turn> requestTurn();
  void finishTurn();
  void syncOnMain(const Work& work);

  std::mutex mutex;
  std::deque<Entry> waiting;
  bool isRunning = false;
  bool isHeld = false;
  std::shared_ptr<TaskQueue> keptByTasks;  // this queue, while it is held and has tasks
  std::atomic<bool> owned = false;

  std::mutex specificMutex;
  std::map<const void*, Specific> specifics;
};

// Makes a queue that hold() can find.
std::shared_ptr<TaskQueue> makeQueue(std::string label, unsigned qos, QueueKind kind);
const std::shared_ptr<TaskQueue>& mainQueue();
// The queue whose task runs on this thread, the innermost one; the main queue on the main thread
// outside any task; none elsewhere.
[[nodiscard]] TaskQueue* currentQueue();
// True while this thread runs a task of the queue, also further out.
[[nodiscard]] bool isInside(const TaskQueue& queue);

// Runs the work in an autorelease pool of its own, and ends what it holds.
void runInPool(Work work);

// Resumes every held label.
void releaseHeldQueues();
// Labels of the queues that still have a queue object.
[[nodiscard]] std::vector<std::string> ownedQueueLabels();

}  // namespace standin
