#pragma once

#include <atomic>
#include <memory>
#include <string>
#include <thread>

#include "platform/Dispatch.h"
#include "platform/linux/dispatch/DispatchBacklogQueue.h"

namespace quorvin {

// The references to a serial queue. The last one to go, on whichever thread, closes the backlog,
// so that the thread ends once it has run what was queued.
class SerialQueue final : public DispatchBacklogQueue {
 public:
  using DispatchBacklogQueue::DispatchBacklogQueue;
  ~SerialQueue() override;
};

// The thread that runs a serial queue; joined by the destructor, which may not run on it.
class SerialQueueThread {
 public:
  SerialQueueThread(const std::string& label, QualityOfService qos);
  SerialQueueThread(const SerialQueueThread&) = delete;
  SerialQueueThread& operator=(const SerialQueueThread&) = delete;
  ~SerialQueueThread();

  [[nodiscard]] std::shared_ptr<DispatchQueue> makeQueue();
  // Lets the thread end after the tasks it has. Any thread.
  void close() { backlog->close(); }
  // Whether joining it takes no time. Any thread.
  [[nodiscard]] bool hasEnded() const { return ended; }

 private:
  void run(const std::string& name, QualityOfService qos);

  const std::shared_ptr<DispatchBacklog> backlog = std::make_shared<DispatchBacklog>();
  std::atomic<bool> ended = false;
  std::thread thread;  // last, since it uses the others
};

}  // namespace quorvin
