#include "tests/macos/standin/TimerSource.h"

#include <utility>

#include "tests/macos/standin/CallLog.h"

namespace standin {

TimerSource::TimerSource(std::shared_ptr<TaskQueue> queue) : queue(std::move(queue)) {}

void TimerSource::setTimer(std::optional<std::uint64_t> start, std::uint64_t newInterval) {
  const Lock lock(mutex);
  if (isEnded) return;
  disarm(lock);
  due = start;
  interval = newInterval;
  pendingFires = 0;
  arm(lock);
}

void TimerSource::setEventHandler(Work handler) {
  const Lock lock(mutex);
  if (!isEnded) eventHandler = std::make_shared<const Work>(std::move(handler));
}

void TimerSource::resume() {
  const Lock lock(mutex);
  if (std::exchange(isResumed, true)) {
    violation("BUG IN CLIENT OF LIBDISPATCH: Over-resume of an object");
    return;
  }
  if (isEnded) {
    enqueueCancellation(lock);
    return;
  }
  arm(lock);
}

void TimerSource::cancel() {
  const Lock lock(mutex);
  if (std::exchange(isEnded, true)) return;
  disarm(lock);
  if (isResumed) enqueueCancellation(lock);
}

void TimerSource::abandon() {
  std::shared_ptr<const Work> dropped;
  const Lock lock(mutex);
  if (!isResumed) violation("BUG IN CLIENT OF LIBDISPATCH: Release of an inactive object");
  disarm(lock);
  if (isEnded && isResumed) return;  // the cancellation drops the handler, on the queue
  isEnded = true;
  dropped = std::exchange(eventHandler, nullptr);
}

void TimerSource::arm(const Lock& lock) {
  if (!isResumed || isEnded || !due) return;
  if (*due <= virtualClock().now()) fall(lock);
  if (!due) return;
  alarm = virtualClock().addAlarm(*due, [weak = weak_from_this()] {
    if (const auto self = weak.lock()) self->onAlarm();
  });
}

void TimerSource::disarm(const Lock& /*lock*/) {
  if (alarm) virtualClock().removeAlarm(*std::exchange(alarm, std::nullopt));
}

// The timer is due: counts every fire until now as one, and finds the next instant on its beat.
void TimerSource::fall(const Lock& lock) {
  const auto now = virtualClock().now();
  const auto fires = interval == once ? 1 : (now - *due) / interval + 1;
  pendingFires += fires;
  if (interval == once) {
    due.reset();
  } else {
    due = *due + fires * interval;
  }
  enqueue(lock);
}

void TimerSource::enqueue(const Lock& /*lock*/) {
  if (std::exchange(isEnqueued, true)) return;
  queue->async([self = shared_from_this()] { self->handle(); });
}

void TimerSource::enqueueCancellation(const Lock& /*lock*/) {
  queue->async([self = shared_from_this()] { self->handleCancellation(); });
}

void TimerSource::onAlarm() {
  const Lock lock(mutex);
  alarm.reset();
  arm(lock);
}

void TimerSource::handle() {
  std::shared_ptr<const Work> handler;
  {
    const Lock lock(mutex);
    isEnqueued = false;
    if (isEnded || std::exchange(pendingFires, 0) == 0) return;
    handler = eventHandler;
  }
  if (handler) (*handler)();
}

// Runs on the queue, so that what the handler holds ends there.
void TimerSource::handleCancellation() {
  std::shared_ptr<const Work> dropped;
  const Lock lock(mutex);
  dropped = std::exchange(eventHandler, nullptr);
}

}  // namespace standin
