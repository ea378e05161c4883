#pragma once

#import <dispatch/dispatch.h>

#include <memory>
#include <string>

#include "platform/Dispatch.h"

namespace quorvin {

// A dispatch queue. What a task holds is released on the queue, right after it ran.
class MacDispatchQueue : public DispatchQueue {
 public:
  explicit MacDispatchQueue(dispatch_queue_t queue);

  void async(Task task) override;
  [[nodiscard]] bool isCurrent() const override;

  // For calls that take the queue itself, such as adding a stream's output.
  [[nodiscard]] dispatch_queue_t queue() const { return handle; }

 private:
  dispatch_queue_t handle;
};

// Queues, timers and the clock of Grand Central Dispatch. A timer's deadline that has passed fires
// at once and keeps the beat of the deadline; a repeating interval of zero or of UINT64_MAX stands
// for a single fire.
class MacDispatch final : public Dispatch {
 public:
  [[nodiscard]] std::shared_ptr<DispatchQueue> mainQueue() override;
  [[nodiscard]] std::shared_ptr<DispatchQueue> globalQueue(QualityOfService qos) override;
  [[nodiscard]] std::shared_ptr<DispatchQueue> makeSerialQueue(const std::string& label,
                                                               QualityOfService qos) override;
  [[nodiscard]] std::unique_ptr<DispatchTimer> makeTimer(
      std::shared_ptr<DispatchQueue> queue) override;
  [[nodiscard]] std::uint64_t uptimeNanoseconds() override;
};

}  // namespace quorvin
