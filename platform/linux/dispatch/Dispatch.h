#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/Dispatch.h"
#include "platform/Mutex.h"

namespace quorvin {

class TaskQueue;
class MainQueueSource;
class DispatchPool;
class SerialQueueThread;

// Queues and timers over GLib and plain threads.
//
// The main queue is served by the GLib main context that is thread-default where this object is
// made; its tasks and timers run while that thread iterates that context, and `isCurrent` is true
// on all of that thread, since every event handler there is main-queue work. A serial queue is a
// thread of its own, named after the last part of the label. The global queue is one small pool of
// threads, whatever the quality of service.
//
// A thread of userInteractive quality asks for a better nice value; systems that do not allow that
// (RLIMIT_NICE) leave it as it is. Other qualities change nothing.
//
// Timers run on CLOCK_MONOTONIC. The leeway is not used to batch them: each fires as soon as its
// queue can after the deadline, which on the main queue means the next whole millisecond. A
// repeating interval of zero or of UINT64_MAX stands for a single fire. Timers belong to the main
// queue or to a serial queue; asking for one on another queue is a broken precondition.
class LinuxDispatch final : public Dispatch {
 public:
  // Main thread, as is the destructor, which finishes everything and drops what was left for the
  // main queue. Queues and timers may outlive this object; they only do nothing any more.
  LinuxDispatch();
  ~LinuxDispatch() override;

  [[nodiscard]] std::shared_ptr<DispatchQueue> mainQueue() override;
  [[nodiscard]] std::shared_ptr<DispatchQueue> globalQueue(QualityOfService qos) override;
  [[nodiscard]] std::shared_ptr<DispatchQueue> makeSerialQueue(const std::string& label,
                                                               QualityOfService qos) override;
  [[nodiscard]] std::unique_ptr<DispatchTimer> makeTimer(
      std::shared_ptr<DispatchQueue> queue) override;
  [[nodiscard]] std::uint64_t uptimeNanoseconds() override;

  // Ends the global queue and then every serial queue: returns once the tasks given to them before
  // this call have run and their threads are gone. Tasks given to them later are dropped, so the
  // wait is bounded by the work at hand. The main queue still takes tasks. Main thread.
  void finish();

 private:
  void joinEndedThreads();

  std::shared_ptr<TaskQueue> mainTasks;
  std::unique_ptr<MainQueueSource> mainSource;
  std::shared_ptr<DispatchQueue> main;
  std::shared_ptr<DispatchPool> pool;
  Mutex mutex;
  std::vector<std::unique_ptr<SerialQueueThread>> threads QUORVIN_GUARDED_BY(mutex);
};

}  // namespace quorvin
