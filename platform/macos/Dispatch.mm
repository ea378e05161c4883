#import "platform/macos/Dispatch.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <limits>
#include <utility>

#include "platform/Fatal.h"

namespace quorvin {
namespace {

// The key under which a queue carries its own address, so that a task can be asked which it is on.
char identityKey = 0;

void identify(dispatch_queue_t queue) {
  dispatch_queue_set_specific(queue, &identityKey, (__bridge void*)queue, nullptr);
}

dispatch_qos_class_t classOf(QualityOfService qos) {
  switch (qos) {
    case QualityOfService::userInitiated:
      return QOS_CLASS_USER_INITIATED;
    case QualityOfService::userInteractive:
      return QOS_CLASS_USER_INTERACTIVE;
    case QualityOfService::unspecified:
      break;
  }
  return QOS_CLASS_UNSPECIFIED;
}

std::uint64_t uptime() { return clock_gettime_nsec_np(CLOCK_UPTIME_RAW); }

// Relative to now, since only the system knows the unit in which it counts an absolute time. A
// deadline in the past gives a time in the past.
dispatch_time_t timeOf(std::uint64_t deadlineNs) {
  const auto now = uptime();
  const auto farthest = static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
  if (deadlineNs < now) {
    return dispatch_time(DISPATCH_TIME_NOW, -static_cast<std::int64_t>(now - deadlineNs));
  }
  return dispatch_time(DISPATCH_TIME_NOW,
                       static_cast<std::int64_t>(std::min(deadlineNs - now, farthest)));
}

// One of the system's shared queues, which take no specific data; their labels are theirs alone.
class SharedQueue final : public MacDispatchQueue {
 public:
  using MacDispatchQueue::MacDispatchQueue;

  [[nodiscard]] bool isCurrent() const override {
    return std::strcmp(dispatch_queue_get_label(DISPATCH_CURRENT_QUEUE_LABEL),
                       dispatch_queue_get_label(queue())) == 0;
  }
};

class MacDispatchTimer final : public DispatchTimer {
 public:
  explicit MacDispatchTimer(dispatch_queue_t queue)
      : source(dispatch_source_create(DISPATCH_SOURCE_TYPE_TIMER, 0, 0, queue)) {}

  ~MacDispatchTimer() override {
    cancel();
    // A source that is released before its first resume stops the process.
    if (!isResumed) dispatch_resume(source);
  }

  void schedule(std::uint64_t deadlineNs, std::uint64_t repeatingNs,
                std::uint64_t leewayNs) override {
    dispatch_source_set_timer(source, timeOf(deadlineNs),
                              repeatingNs == 0 ? DISPATCH_TIME_FOREVER : repeatingNs, leewayNs);
  }

  void setEventHandler(Task handler) override {
    const auto kept = std::make_shared<const Task>(std::move(handler));
    dispatch_source_set_event_handler(source, ^{
      (*kept)();
    });
  }

  void resume() override {
    isResumed = true;
    dispatch_resume(source);
  }

  void cancel() override { dispatch_source_cancel(source); }

 private:
  dispatch_source_t source;
  bool isResumed = false;
};

}  // namespace

MacDispatchQueue::MacDispatchQueue(dispatch_queue_t queue) : handle(queue) {}

void MacDispatchQueue::async(Task task) {
  // Not moved: libc++ leaves in a function that was moved from what it holds, which this thread
  // could then be the last to let go of.
  const auto kept = std::make_shared<Task>();
  kept->swap(task);
  dispatch_async(handle, ^{
    // Taken out, since this function may be the last to let go of `kept`.
    std::exchange(*kept, nullptr)();
  });
}

bool MacDispatchQueue::isCurrent() const {
  return dispatch_get_specific(&identityKey) == (__bridge void*)handle;
}

std::shared_ptr<DispatchQueue> MacDispatch::mainQueue() {
  dispatch_queue_t queue = dispatch_get_main_queue();
  identify(queue);
  return std::make_shared<MacDispatchQueue>(queue);
}

std::shared_ptr<DispatchQueue> MacDispatch::globalQueue(QualityOfService qos) {
  return std::make_shared<SharedQueue>(dispatch_get_global_queue(classOf(qos), 0));
}

std::shared_ptr<DispatchQueue> MacDispatch::makeSerialQueue(const std::string& label,
                                                            QualityOfService qos) {
  dispatch_queue_attr_t attributes =
      dispatch_queue_attr_make_with_qos_class(DISPATCH_QUEUE_SERIAL, classOf(qos), 0);
  dispatch_queue_t queue = dispatch_queue_create(label.c_str(), attributes);
  identify(queue);
  return std::make_shared<MacDispatchQueue>(queue);
}

std::unique_ptr<DispatchTimer> MacDispatch::makeTimer(std::shared_ptr<DispatchQueue> queue) {
  const auto* own = dynamic_cast<const MacDispatchQueue*>(queue.get());
  if (own == nullptr) fatalError("A timer was asked for on a queue of another maker.");
  return std::make_unique<MacDispatchTimer>(own->queue());
}

std::uint64_t MacDispatch::uptimeNanoseconds() { return uptime(); }

}  // namespace quorvin
