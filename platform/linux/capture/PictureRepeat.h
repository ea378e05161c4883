#pragma once

#include <atomic>
#include <memory>
#include <utility>

#include "platform/linux/capture/CapturePacer.h"
#include "platform/linux/capture/CaptureWakeup.h"

namespace quorvin {

// The way back from whoever made something of a captured picture to its stream: it can ask for the
// same picture once more, which is for encoders that had to be brief while the screen was changing.
// Who never asks, as when every picture becomes a file of its own, pays nothing. Any thread.
class PictureRepeat {
 public:
  PictureRepeat(CaptureTime capturedAt, bool isRepeat, std::shared_ptr<CaptureWakeup> wakeup)
      : capturedAt(capturedAt), repeats(isRepeat), wakeup(std::move(wakeup)) {}

  // Whether nothing has changed since the picture before.
  [[nodiscard]] bool isRepeat() const { return repeats; }
  // So long after the picture was captured, unless there is a newer one by then.
  void ask(std::chrono::nanoseconds after) {
    due = capturedAt + after;
    wakeup->signal();
  }
  // When it is due; the end of time if nobody has asked.
  [[nodiscard]] CaptureTime dueAt() const { return due; }

 private:
  CaptureTime capturedAt;
  bool repeats;
  std::shared_ptr<CaptureWakeup> wakeup;
  std::atomic<CaptureTime> due = CaptureTime::max();
};

}  // namespace quorvin
