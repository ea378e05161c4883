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

TaskQueue::TaskQueue(std::string label, unsigned qos, QueueKind kind)
    : label(std::move(label)), qos(qos), kind(kind) {}

TaskQueue::~TaskQueue() {
  for (const auto& [key, specific] : specifics) {
    if (specific.destructor != nullptr) specific.destructor(specific.value);
  }
}

void TaskQueue::async(Work work) {
  add({std::move(work), nullptr});
}

void TaskQueue::add(Entry entry) {
  {
    const std::lock_guard guard(mutex);
    if (kind != QueueKind::main && !isHeld) workload().begin();
    if (kind == QueueKind::concurrent && !isHeld) {
      startThread(std::move(entry));
      return;
    }
    waiting.push_back(std::move(entry));
    if (isHeld) keptByTasks = shared_from_this();
    if (kind == QueueKind::serial && !isHeld) start();
  }
  if (kind == QueueKind::main) workload().wake();
}

void TaskQueue::start() {
  if (std::exchange(isRunning, true)) return;
  std::thread([self = shared_from_this()] { self->drain(); }).detach();
}

void TaskQueue::startThread(Entry entry) {
  std::thread([self = shared_from_this(), task = std::move(entry)]() mutable {
    const InsideQueue inside(*self);
    runInPool(std::move(task.work));
    workload().end();
  }).detach();
}

bool TaskQueue::takeNext(Entry& entry) {
  const std::lock_guard guard(mutex);
  if (waiting.empty() || isHeld) {
    isRunning = false;
    return false;
  }
  entry = std::move(waiting.front());
  waiting.pop_front();
  return true;
}

void TaskQueue::drain() {
  const InsideQueue inside(*this);
  for (Entry entry; takeNext(entry);) {
    if (entry.turn) {
      // The queue now belongs to the thread that waits for its turn.
      const std::lock_guard guard(entry.turn->mutex);
      entry.turn->isGranted = true;
      entry.turn->granted.notify_one();
      return;
    }
    runInPool(std::move(entry.work));
    workload().end();
  }
}

std::shared_ptr<TaskQueue::Turn> TaskQueue::requestTurn() {
  const std::lock_guard guard(mutex);
  workload().begin();
  if (!isRunning && waiting.empty() && !isHeld) {
    isRunning = true;
    return nullptr;
  }
  auto turn = std::make_shared<Turn>();
  if (isHeld) workload().end();
  waiting.push_back({nullptr, turn});
  return turn;
}

void TaskQueue::finishTurn() {
  {
    const std::lock_guard guard(mutex);
    isRunning = false;
    if (!waiting.empty() && !isHeld) start();
  }
  workload().end();
}

void TaskQueue::sync(const Work& work) {
  if (kind == QueueKind::serial && isInside(*this)) {
    violation("dispatch_sync was called on the queue that it waits for: " + label);
    return;
  }
  if (kind == QueueKind::main) {
    syncOnMain(work);
    return;
  }
  if (kind == QueueKind::serial) {
    if (const auto turn = requestTurn()) {
      std::unique_lock lock(turn->mutex);
      turn->granted.wait(lock, [&turn] { return turn->isGranted; });
    }
  }
  {
    const InsideQueue inside(*this);
    work();
  }
  if (kind == QueueKind::serial) finishTurn();
}

void TaskQueue::syncOnMain(const Work& work) {
  if (isMainThread()) {
    violation("dispatch_sync was called on the queue that it waits for: " + label);
    return;
  }
  auto turn = std::make_shared<Turn>();
  async([&work, turn] {
    work();
    const std::lock_guard guard(turn->mutex);
    turn->isGranted = true;
    turn->granted.notify_one();
  });
  std::unique_lock lock(turn->mutex);
  turn->granted.wait(lock, [&turn] { return turn->isGranted; });
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
  Entry entry;
  if (!takeNext(entry)) return false;
  const InsideQueue inside(*this);
  runInPool(std::move(entry.work));
  return true;
}

bool TaskQueue::hasReadyTask() {
  const std::lock_guard guard(mutex);
  return !waiting.empty() && !isHeld;
}

void TaskQueue::setSpecific(const void* key, void* value, Destructor destructor) {
  const std::lock_guard guard(specificMutex);
  const auto old = std::exchange(specifics[key], {value, destructor});
  if (old.destructor != nullptr) old.destructor(old.value);
}

void* TaskQueue::specific(const void* key) {
  const std::lock_guard guard(specificMutex);
  const auto found = specifics.find(key);
  return found == specifics.end() ? nullptr : found->second.value;
}

std::shared_ptr<TaskQueue> makeQueue(std::string label, unsigned qos, QueueKind kind) {
  auto queue = std::make_shared<TaskQueue>(std::move(label), qos, kind);
  const std::lock_guard guard(registry().mutex);
  registry().queues.push_back(queue);
  if (registry().heldLabels.contains(queue->label)) queue->setHeld(true);
  return queue;
}

const std::shared_ptr<TaskQueue>& mainQueue() {
  static auto& queue =
      *new std::shared_ptr<TaskQueue>(makeQueue(mainQueueLabel, 0x21, QueueKind::main));
  return queue;
}

TaskQueue* currentQueue() {
  const auto& queues = queuesOfThisThread();
  if (!queues.empty()) return queues.back();
  return isMainThread() ? mainQueue().get() : nullptr;
}

bool isInside(const TaskQueue& queue) {
  return std::ranges::find(queuesOfThisThread(), &queue) != queuesOfThisThread().end();
}

void runInPool(Work work) {
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
