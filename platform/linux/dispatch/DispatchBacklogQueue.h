#pragma once

#include <memory>
#include <thread>

#include "platform/Dispatch.h"
#include "platform/linux/dispatch/DispatchBacklog.h"

namespace quorvin {

// A queue whose backlog one thread runs. Any thread.
class DispatchBacklogQueue : public DispatchQueue {
 public:
  DispatchBacklogQueue(std::shared_ptr<DispatchBacklog> backlog, std::thread::id runner);

  void async(Task task) override;
  [[nodiscard]] bool isCurrent() const override;
  [[nodiscard]] const std::shared_ptr<DispatchBacklog>& backlog() const { return work; }

 private:
  const std::shared_ptr<DispatchBacklog> work;
  const std::thread::id runner;
};

// A timer on such a queue, which it keeps. Configured by one thread at a time.
class DispatchBacklogTimer final : public DispatchTimer {
 public:
  explicit DispatchBacklogTimer(std::shared_ptr<DispatchBacklogQueue> queue);
  ~DispatchBacklogTimer() override;

  void schedule(std::uint64_t deadlineNs, std::uint64_t repeatingNs,
                std::uint64_t leewayNs) override;
  void setEventHandler(Task handler) override;
  void resume() override;
  void cancel() override;

 private:
  const std::shared_ptr<DispatchBacklogQueue> queue;
  const std::shared_ptr<DispatchBacklog::Timer> timer;
};

}  // namespace quorvin
