#include "tests/macos/standin/TaskQueue.h"

#include <algorithm>
#include <set>
#include <thread>
#include <utility>

#include "tests/macos/standin/CallLog.h"
#include "tests/macos/standin/Threads.h"
#include "tests/macos/standin/Workload.h"

extern "C" {
void* objc_autoreleasePoolPush();
void objc_autoreleasePoolPop(void* token);
}

namespace standin {
namespace {

// Innermost last.
std::vector<TaskQueue*>& queuesOfThisThread() {
  static thread_local std::vector<TaskQueue*> queues;
  return queues;
}

class InsideQueue {
 public:
  explicit InsideQueue(TaskQueue& queue) { queuesOfThisThread().push_back(&queue); }
  InsideQueue(const InsideQueue&) = delete;
  InsideQueue& operator=(const InsideQueue&) = delete;
  ~InsideQueue() { queuesOfThisThread().pop_back(); }
};

// Which queues there are, and which labels are held.
struct Registry {
  std::mutex mutex;
  std::vector<std::weak_ptr<TaskQueue>> queues;
  std::set<std::string> heldLabels;
};

Registry& registry() {
  static auto& theRegistry = *new Registry;
  return theRegistry;
}

std::vector<std::shared_ptr<TaskQueue>> existingQueues() {
  std::vector<std::shared_ptr<TaskQueue>> found;
  const std::lock_guard guard(registry().mutex);
  auto& queues = registry().queues;
  std::erase_if(queues, [](const auto& queue) { return queue.expired(); });
  for (const auto& candidate : queues) {
    if (auto queue = candidate.lock()) found.push_back(std::move(queue));
  }
  return found;
}

void noteHeld(const std::string& label, bool isHeld) {
  const std::lock_guard guard(registry().mutex);
  if (isHeld) {
    registry().heldLabels.insert(label);
  } else {
    registry().heldLabels.erase(label);
  }
}

void setHeld(const std::string& label, bool shallHold) {
  noteHeld(label, shallHold);
  for (const auto& queue : existingQueues()) {
    if (queue->label == label) queue->setHeld(shallHold);
  }
}

}  // namespace

TaskQueue::TaskQueue(std::string label, QueueKind kind) : label(std::move(label)), kind(kind) {}

void TaskQueue::async(Work work) {
  {
    const std::lock_guard guard(mutex);
    if (kind != QueueKind::main && !isHeld) workload().begin();
    if (kind == QueueKind::concurrent && !isHeld) {
      startThread(std::move(work));
      return;
    }
    waiting.push_back(std::move(work));
    if (isHeld) keptByTasks = shared_from_this();
    if (kind == QueueKind::serial && !isHeld) start();
  }
  if (kind == QueueKind::main) workload().wake();
}

void TaskQueue::start() {
  if (std::exchange(isRunning, true)) return;
  std::thread([self = shared_from_this()] { self->drain(); }).detach();
}

void TaskQueue::startThread(Work work) {
  std::thread([self = shared_from_this(), task = std::move(work)]() mutable {
    const InsideQueue inside(*self);
    runInPool(std::move(task));
    workload().end();
  }).detach();
}

bool TaskQueue::takeNext(Work& work) {
  const std::lock_guard guard(mutex);
  if (waiting.empty() || isHeld) {
    isRunning = false;
    return false;
  }
  work = std::move(waiting.front());
  waiting.pop_front();
  return true;
}

void TaskQueue::drain() {
  const InsideQueue inside(*this);
  for (Work work; takeNext(work);) {
    runInPool(std::move(work));
    workload().end();
  }
}

void TaskQueue::setHeld(bool shallHold) {
  {
    const std::lock_guard guard(mutex);
    if (isHeld == shallHold) return;
    isHeld = shallHold;
    const auto count = static_cast<std::int64_t>(waiting.size());
    keptByTasks = shallHold && count > 0 ? shared_from_this() : nullptr;
    if (kind != QueueKind::main && count > 0) {
      if (shallHold) {
        workload().end(count);
      } else {
        workload().begin(count);
      }
    }
    if (!shallHold && kind == QueueKind::serial && count > 0) start();
    while (!shallHold && kind == QueueKind::concurrent && !waiting.empty()) {
      startThread(std::move(waiting.front()));
      waiting.pop_front();
    }
  }
  workload().wake();
}

bool TaskQueue::runOne() {
  Work work;
  if (!takeNext(work)) return false;
  const InsideQueue inside(*this);
  runInPool(std::move(work));
  return true;
}

bool TaskQueue::hasReadyTask() {
  const std::lock_guard guard(mutex);
  return !waiting.empty() && !isHeld;
}

void TaskQueue::setSpecific(const void* key, void* value) {
  const std::lock_guard guard(specificMutex);
  specifics[key] = value;
}

void* TaskQueue::specific(const void* key) {
  const std::lock_guard guard(specificMutex);
  const auto found = specifics.find(key);
  return found == specifics.end() ? nullptr : found->second;
}

std::shared_ptr<TaskQueue> makeQueue(std::string label, QueueKind kind) {
  auto queue = std::make_shared<TaskQueue>(std::move(label), kind);
  const std::lock_guard guard(registry().mutex);
  registry().queues.push_back(queue);
  if (registry().heldLabels.contains(queue->label)) queue->setHeld(true);
  return queue;
}

const std::shared_ptr<TaskQueue>& mainQueue() {
  static auto& queue = *new std::shared_ptr<TaskQueue>(makeQueue(mainQueueLabel, QueueKind::main));
  return queue;
}

TaskQueue* currentQueue() {
  const auto& queues = queuesOfThisThread();
  if (!queues.empty()) return queues.back();
  return isMainThread() ? mainQueue().get() : nullptr;
}

void runInPool(Work&& work) {
  void* pool = objc_autoreleasePoolPush();
  work();
  work = nullptr;
  objc_autoreleasePoolPop(pool);
}

std::string currentQueueLabel() {
  const auto& queues = queuesOfThisThread();
  return queues.empty() ? std::string() : queues.back()->label;
}

void hold(const std::string& label) {
  setHeld(label, true);
}

void resume(const std::string& label) {
  setHeld(label, false);
}

void releaseHeldQueues() {
  std::set<std::string> labels;
  {
    const std::lock_guard guard(registry().mutex);
    labels = registry().heldLabels;
  }
  for (const auto& label : labels) resume(label);
}

std::vector<std::string> ownedQueueLabels() {
  std::vector<std::string> labels;
  for (const auto& queue : existingQueues()) {
    if (queue->isOwned()) labels.push_back(queue->label);
  }
  return labels;
}

}  // namespace standin
