#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>

#include "tests/macos/standin/TaskQueue.h"
#include "tests/macos/standin/VirtualClock.h"

namespace standin {

// What a dispatch source of timer type does. Any thread.
class TimerSource : public std::enable_shared_from_this<TimerSource> {
 public:
  static constexpr std::uint64_t once = 0;

  explicit TimerSource(std::shared_ptr<TaskQueue> queue);

  // Nanoseconds; no start never fires. Takes back fires that have not been handled yet.
  void setTimer(std::optional<std::uint64_t> start, std::uint64_t interval);
  void setEventHandler(Work handler);

  void resume();
  void cancel();

  // The last reference to the source is gone.
  void abandon();

 private:
  using Lock = std::unique_lock<std::mutex>;

  void arm(const Lock& lock);
  void disarm(const Lock& lock);
  void fall(const Lock& lock);
  void enqueue(const Lock& lock);
  void enqueueCancellation(const Lock& lock);
  void onAlarm();
  void handle();
  void handleCancellation();

  const std::shared_ptr<TaskQueue> queue;

  std::mutex mutex;
  std::optional<std::uint64_t> due;
  std::uint64_t interval = once;
  std::optional<VirtualClock::AlarmId> alarm;
  std::uint64_t pendingFires = 0;
  bool isResumed = false;
  bool isEnqueued = false;
  bool isEnded = false;
  std::shared_ptr<const Work> eventHandler;
};

}  // namespace standin
