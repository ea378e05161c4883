#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "platform/Interface.h"

namespace quorvin {

using Task = std::function<void()>;

enum class QualityOfService { unspecified, userInitiated, userInteractive };

// Tasks handed to a queue run asynchronously, never inside `async` itself. The main queue and
// serial queues run them one at a time, in the order given. What a task holds is released on its
// queue as soon as it has run, before the next one of a serial queue.
class DispatchQueue : public Interface {
 public:
  virtual void async(Task task) = 0;  // any thread
  // True inside a task of this queue, and on all of the main thread for the main queue; for
  // assertions.
  [[nodiscard]] virtual bool isCurrent() const = 0;
};

// A timer whose handler runs on the queue it was made for, which it keeps. Configured once, then
// resumed; silent until then. After cancel, called on that queue, the handler does not run again,
// not even for a fire that was waiting, and is let go of; destruction cancels. A handler may cancel
// or destroy its own timer.
class DispatchTimer : public Interface {
 public:
  // The deadline is on the uptime clock; one that has passed fires at once. Later fires come at
  // deadline + n * repeating without drift, each at most `leewayNs` late and never early; missed
  // ones are folded into one. A repeating interval of zero stands for a single fire.
  virtual void schedule(std::uint64_t deadlineNs, std::uint64_t repeatingNs,
                        std::uint64_t leewayNs) = 0;
  virtual void setEventHandler(Task handler) = 0;
  virtual void resume() = 0;
  virtual void cancel() = 0;
};

// Queues, timers and the clock. Every member may be called on any thread.
class Dispatch : public Interface {
 public:
  [[nodiscard]] virtual std::shared_ptr<DispatchQueue> mainQueue() = 0;
  // A concurrent queue that the whole process shares.
  [[nodiscard]] virtual std::shared_ptr<DispatchQueue> globalQueue(QualityOfService qos) = 0;
  // Tasks already queued still run after the last reference to the queue is gone. Throws Error when
  // the system has nothing left for a queue.
  [[nodiscard]] virtual std::shared_ptr<DispatchQueue> makeSerialQueue(const std::string& label,
                                                                       QualityOfService qos) = 0;
  [[nodiscard]] virtual std::unique_ptr<DispatchTimer> makeTimer(
      std::shared_ptr<DispatchQueue> queue) = 0;
  // Monotonic nanoseconds; stands still while the machine sleeps.
  [[nodiscard]] virtual std::uint64_t uptimeNanoseconds() = 0;
};

}  // namespace quorvin
