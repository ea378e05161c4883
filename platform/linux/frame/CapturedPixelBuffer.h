#pragma once

#include <atomic>
#include <chrono>
#include <memory>
#include <utility>

#include "platform/ScreenCapture.h"
#include "platform/linux/frame/RowHistory.h"
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

// The pixels of a captured picture: rows from top to bottom, four bytes a pixel in the order
// blue, green, red, undefined. Any thread.
class CapturedPixelBuffer : public PixelBuffer {
 public:
  // `pixels` must stay valid and unchanged for as long as `owner` is held.
  CapturedPixelBuffer(std::shared_ptr<const void> owner, const std::uint8_t* pixels,
                      std::size_t widthPx, std::size_t heightPx, std::size_t strideBytes)
      : owner(std::move(owner)),
        pixels(pixels),
        width(widthPx),
        height(heightPx),
        stride(strideBytes) {}

  [[nodiscard]] std::size_t widthPx() const override { return width; }
  [[nodiscard]] std::size_t heightPx() const override { return height; }
  [[nodiscard]] const std::uint8_t* data() const { return pixels; }
  [[nodiscard]] std::size_t strideBytes() const { return stride; }

  // This and `setRepeat` before anybody else has the picture.
  void setRowHistory(std::shared_ptr<const RowHistory> newHistory) {
    history = std::move(newHistory);
  }
  // Null for a picture that is of no stream.
  [[nodiscard]] const std::shared_ptr<const RowHistory>& rowHistory() const { return history; }

  void setRepeat(std::shared_ptr<PictureRepeat> newRepeat) { repeat = std::move(newRepeat); }
  [[nodiscard]] bool isRepeat() const { return repeat && repeat->isRepeat(); }
  // Does nothing for a picture that is of no stream.
  void askForRepeat(std::chrono::nanoseconds after) const {
    if (repeat) repeat->ask(after);
  }

 private:
  std::shared_ptr<const void> owner;
  const std::uint8_t* pixels;
  std::size_t width;
  std::size_t height;
  std::size_t stride;
  std::shared_ptr<PictureRepeat> repeat;
  std::shared_ptr<const RowHistory> history;
};

}  // namespace quorvin
