#include "platform/linux/dispatch/DispatchQueues.h"

#include <pthread.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <system_error>
#include <utility>

namespace quorvin {

LinuxDispatchQueue::LinuxDispatchQueue(std::shared_ptr<TaskQueue> taskQueue, std::thread::id runner)
    : work(std::move(taskQueue)), runner(runner) {}

void LinuxDispatchQueue::async(Task task) {
  work->push(std::move(task));
}

bool LinuxDispatchQueue::isCurrent() const {
  return std::this_thread::get_id() == runner;
}

LinuxDispatchTimer::LinuxDispatchTimer(std::shared_ptr<LinuxDispatchQueue> queue)
    : queue(std::move(queue)), timer(TaskQueue::makeTimer()) {}

LinuxDispatchTimer::~LinuxDispatchTimer() {
  queue->taskQueue()->cancel(timer);
}

void LinuxDispatchTimer::schedule(std::uint64_t deadlineNs, std::uint64_t repeatingNs,
                                  std::uint64_t /*leewayNs*/) {
  queue->taskQueue()->schedule(*timer, deadlineNs, repeatingNs);
}

void LinuxDispatchTimer::setEventHandler(Task handler) {
  queue->taskQueue()->setHandler(*timer, std::move(handler));
}

void LinuxDispatchTimer::resume() {
  queue->taskQueue()->resume(timer);
}

void LinuxDispatchTimer::cancel() {
  queue->taskQueue()->cancel(timer);
}

namespace {

// The kernel keeps fifteen bytes of a name, too few for a whole label.
std::string threadName(const std::string& label) {
  constexpr std::size_t longest = 15;
  return label.substr(label.rfind('.') + 1, longest);
}

// On Linux a nice value belongs to a thread, and PRIO_PROCESS takes the thread's id. Most users may
// not lower theirs; the queue then works at the ordinary priority.
void preferThisThread() {
  constexpr int niceValue = -5;
  setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), niceValue);
}

}  // namespace

SerialQueue::~SerialQueue() {
  taskQueue()->close();
}

SerialQueueThread::SerialQueueThread(const std::string& label, QualityOfService qos)
    : thread([this, name = threadName(label), qos] { run(name, qos); }) {}

SerialQueueThread::~SerialQueueThread() {
  assert(thread.get_id() != std::this_thread::get_id());
  close();
  thread.join();
}

std::shared_ptr<DispatchQueue> SerialQueueThread::makeQueue() {
  return std::make_shared<SerialQueue>(taskQueue, thread.get_id());
}

void SerialQueueThread::run(const std::string& name, QualityOfService qos) {
  pthread_setname_np(pthread_self(), name.c_str());
  if (qos == QualityOfService::userInteractive) preferThisThread();
  while (taskQueue->waitForWork()) taskQueue->drainOnce();
  ended = true;
}

namespace {

// GLib makes and frees the memory, so this stays plain data that begins with a GSource.
struct Source {
  GSource base;
  TaskQueue* taskQueue;
  bool isResting;
};

Source& of(GSource* source) {
  return *reinterpret_cast<Source*>(source);
}

// Whole milliseconds, rounded up, since the context cannot sleep for less; -1 for no end.
gint sleepMs(std::optional<std::uint64_t> dueNs) {
  constexpr std::uint64_t nsPerMs = 1'000'000;
  constexpr std::uint64_t longest = std::numeric_limits<gint>::max();
  if (!dueNs) return -1;
  const auto nowNs = monotonicNanoseconds();
  if (*dueNs <= nowNs) return 0;
  return static_cast<gint>(std::min((*dueNs - nowNs - 1) / nsPerMs + 1, longest));
}

// An exception has no way through GLib's C frames, hence noexcept.
gboolean prepare(GSource* source, gint* timeoutMs) noexcept {
  *timeoutMs = sleepMs(of(source).taskQueue->nextDueNs());
  return *timeoutMs == 0 && !of(source).isResting ? TRUE : FALSE;
}

gboolean check(GSource* source) noexcept {
  if (of(source).isResting) {
    of(source).isResting = false;
    return FALSE;
  }
  return sleepMs(of(source).taskQueue->nextDueNs()) == 0 ? TRUE : FALSE;
}

gboolean dispatch(GSource* source, GSourceFunc /*callback*/, gpointer /*data*/) noexcept {
  of(source).isResting = true;
  of(source).taskQueue->drainOnce();
  return G_SOURCE_CONTINUE;
}

std::shared_ptr<GMainContext> threadDefaultContext() {
  return {g_main_context_ref_thread_default(), &g_main_context_unref};
}

}  // namespace

MainQueueSource::MainQueueSource(TaskQueue& taskQueue) {
  static GSourceFuncs functions{&prepare, &check, &dispatch, nullptr, nullptr, nullptr};
  source = g_source_new(&functions, sizeof(Source));
  of(source).taskQueue = &taskQueue;
  of(source).isResting = false;
  g_source_set_static_name(source, "main queue");
  const auto context = threadDefaultContext();
  g_source_attach(source, context.get());
}

MainQueueSource::~MainQueueSource() {
  g_source_destroy(source);
  g_source_unref(source);
}

Task MainQueueSource::wakeContext() {
  return [context = threadDefaultContext()] {
    g_main_context_wakeup(context.get());
  };
}

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
