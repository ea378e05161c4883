#pragma once

#include <atomic>
#include <chrono>
#include <memory>
#include <utility>

#include "platform/unix/EventFd.h"

namespace quorvin {

// The way back from whoever made something of a captured picture to its stream: it can ask for the
// same picture once more, which is for encoders that had to be brief while the screen was changing.
// Who never asks, as when every picture becomes a file of its own, pays nothing. Any thread.
class PictureRepeat {
 public:
  using Clock = std::chrono::steady_clock;

  PictureRepeat(Clock::time_point capturedAt, bool isRepeat, std::shared_ptr<EventFd> wakeup)
      : capturedAt(capturedAt), repeats(isRepeat), wakeup(std::move(wakeup)) {}

  // Whether nothing has changed since the picture before.
  [[nodiscard]] bool isRepeat() const { return repeats; }
  // So long after the picture was captured, unless there is a newer one by then.
  void ask(std::chrono::nanoseconds after) {
    due = capturedAt + after;
    wakeup->signal();
  }
  // When it is due; the end of time if nobody has asked.
  [[nodiscard]] Clock::time_point dueAt() const { return due; }

 private:
  Clock::time_point capturedAt;
  bool repeats;
  std::shared_ptr<EventFd> wakeup;
  std::atomic<Clock::time_point> due = Clock::time_point::max();
};

}  // namespace quorvin
