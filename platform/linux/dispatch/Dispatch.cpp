#include "platform/linux/dispatch/Dispatch.h"

#include <glib.h>
#include <pthread.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cassert>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <limits>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

#include "platform/Fatal.h"
#include "platform/linux/dispatch/TaskQueue.h"
#include "platform/linux/system/PosixError.h"

namespace quorvin {
namespace {

// A queue whose tasks one thread runs. Any thread.
class LinuxDispatchQueue : public DispatchQueue {
 public:
  LinuxDispatchQueue(std::shared_ptr<TaskQueue> taskQueue, std::thread::id runner)
      : work(std::move(taskQueue)), runner(runner) {}

  void async(Task task) override { work->push(std::move(task)); }
  [[nodiscard]] bool isCurrent() const override { return std::this_thread::get_id() == runner; }
  [[nodiscard]] TaskQueue& taskQueue() const { return *work; }

 private:
  const std::shared_ptr<TaskQueue> work;
  const std::thread::id runner;
};

// A timer on such a queue, which it keeps. Configured by one thread at a time.
class LinuxDispatchTimer final : public DispatchTimer {
 public:
  explicit LinuxDispatchTimer(std::shared_ptr<LinuxDispatchQueue> queue)
      : queue(std::move(queue)) {}
  ~LinuxDispatchTimer() override { queue->taskQueue().cancel(timer); }

  void schedule(std::uint64_t deadlineNs, std::uint64_t repeatingNs,
                std::uint64_t /*leewayNs*/) override {
    queue->taskQueue().schedule(*timer, deadlineNs, repeatingNs);
  }
  void setEventHandler(Task handler) override {
    queue->taskQueue().setHandler(*timer, std::move(handler));
  }
  void resume() override { queue->taskQueue().resume(timer); }
  void cancel() override { queue->taskQueue().cancel(timer); }

 private:
  const std::shared_ptr<LinuxDispatchQueue> queue;
  const std::shared_ptr<TaskQueue::Timer> timer = TaskQueue::makeTimer();
};

// The references to a serial queue. The last one to go, on whichever thread, closes the task queue,
// so that the thread ends once it has run what was queued.
class SerialQueue final : public LinuxDispatchQueue {
 public:
  using LinuxDispatchQueue::LinuxDispatchQueue;
  ~SerialQueue() override { taskQueue().close(); }
};

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

constexpr std::size_t poolThreadsMax = 4;

thread_local const DispatchPool* poolOfThisThread = nullptr;

}  // namespace

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

// The global queue: one thread from the start, so that what it takes is done, and up to three more
// when needed, if the system has them. Any thread.
class DispatchPool final : public DispatchQueue {
 public:
  // Throws std::system_error when there is no first thread.
  DispatchPool();
  ~DispatchPool() override { finish(); }

  // Drops the task once the pool is finished.
  void async(Task task) override;
  [[nodiscard]] bool isCurrent() const override;

  // Runs what is queued, takes nothing more and joins the threads. Not on one of them.
  void finish();

 private:
  void addThread() QUORVIN_REQUIRES(mutex) {
    threads.emplace_back([this] { run(); });
  }
  void run();

  std::condition_variable changed;
  Mutex mutex;
  std::deque<Task> tasks QUORVIN_GUARDED_BY(mutex);
  std::vector<std::thread> threads QUORVIN_GUARDED_BY(mutex);
  std::size_t idleThreads QUORVIN_GUARDED_BY(mutex) = 0;
  bool isFinished QUORVIN_GUARDED_BY(mutex) = false;
};

DispatchPool::DispatchPool() {
  const MutexLock lock(mutex);
  addThread();
}

void DispatchPool::async(Task task) {
  const MutexLock lock(mutex);
  if (isFinished) return;
  tasks.push_back(std::move(task));
  if (tasks.size() > idleThreads && threads.size() < poolThreadsMax) {
    try {
      addThread();
    } catch (const std::system_error&) {
      // Those that are there do as well.
    }
  }
  changed.notify_one();
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

LinuxDispatch::LinuxDispatch()
    : mainTasks(std::make_shared<TaskQueue>(MainQueueSource::wakeContext())),
      mainSource(std::make_unique<MainQueueSource>(*mainTasks)),
      main(std::make_shared<LinuxDispatchQueue>(mainTasks, std::this_thread::get_id())),
      pool(std::make_shared<DispatchPool>()) {}

LinuxDispatch::~LinuxDispatch() {
  finish();
  mainSource.reset();
  mainTasks->discard();
}

std::shared_ptr<DispatchQueue> LinuxDispatch::mainQueue() {
  return main;
}

std::shared_ptr<DispatchQueue> LinuxDispatch::globalQueue(QualityOfService /*qos*/) {
  return pool;
}

std::shared_ptr<DispatchQueue> LinuxDispatch::makeSerialQueue(const std::string& label,
                                                              QualityOfService qos) {
  joinEndedThreads();
  try {
    auto thread = std::make_unique<SerialQueueThread>(label, qos);
    auto queue = thread->makeQueue();
    const MutexLock lock(mutex);
    threads.push_back(std::move(thread));
    return queue;
  } catch (const std::system_error& error) {
    throw posixError("A thread", "made", error.code());
  }
}

std::unique_ptr<DispatchTimer> LinuxDispatch::makeTimer(std::shared_ptr<DispatchQueue> queue) {
  auto runner = std::dynamic_pointer_cast<LinuxDispatchQueue>(std::move(queue));
  if (runner == nullptr) fatalError("A timer needs the main queue or a serial queue");
  return std::make_unique<LinuxDispatchTimer>(std::move(runner));
}

std::uint64_t LinuxDispatch::uptimeNanoseconds() {
  return monotonicNanoseconds();
}

// A program that makes a queue for every session would otherwise collect their threads.
void LinuxDispatch::joinEndedThreads() {
  std::vector<std::unique_ptr<SerialQueueThread>> ended;
  const MutexLock lock(mutex);
  std::erase_if(threads, [&ended](auto& thread) {
    if (!thread->hasEnded()) return false;
    ended.push_back(std::move(thread));
    return true;
  });
}

void LinuxDispatch::finish() {
  pool->finish();
  while (true) {
    std::vector<std::unique_ptr<SerialQueueThread>> ending;
    {
      const MutexLock lock(mutex);
      threads.swap(ending);
    }
    if (ending.empty()) return;
    // All are closed before the first is waited for: none takes what another still has to say.
    for (const auto& thread : ending) thread->close();
  }
}

}  // namespace quorvin
