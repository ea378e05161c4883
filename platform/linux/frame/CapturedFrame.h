#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <utility>

#include "platform/ScreenCapture.h"
#include "platform/linux/frame/DamageHistory.h"
#include "platform/linux/frame/PixelRegion.h"
#include "platform/unix/FileDescriptor.h"

namespace quorvin {

inline constexpr std::size_t bytesPerPixel = 4;

// An image of 32-bit pixels, blue first, without gaps between the rows. The fourth byte is
// whatever the X server left there.
struct PixelImage {
  PixelSize size;
  std::shared_ptr<std::uint8_t> memory;
  // Names the memory to the X server, which can then write into it; 0 when it cannot.
  std::uint32_t segment = 0;
  // Keeps the segment known to the server. Belongs to the thread of the server's connection.
  std::shared_ptr<const void> attachment;

  [[nodiscard]] std::size_t strideBytes() const {
    return static_cast<std::size_t>(size.width) * bytesPerPixel;
  }
  [[nodiscard]] std::size_t offsetBytes(int x, int y) const {
    return static_cast<std::size_t>(y) * strideBytes() +
           static_cast<std::size_t>(x) * bytesPerPixel;
  }
  [[nodiscard]] std::uint8_t* at(int x, int y) const { return memory.get() + offsetBytes(x, y); }
};

using PixelImageFactory = std::function<PixelImage(PixelSize)>;

// Lets whoever encoded a frame request it from the stream again, as an encoder does that had to be
// coarse while the screen was changing. Without a request it costs nothing. Any thread.
class RefreshRequest {
 public:
  using Clock = std::chrono::steady_clock;

  RefreshRequest(Clock::time_point capturedAt, bool isRefresh, std::shared_ptr<EventFd> wakeup)
      : capturedAt(capturedAt), refreshes(isRefresh), wakeup(std::move(wakeup)) {}

  // Whether the frame is a refresh itself: nothing has changed since the one before.
  [[nodiscard]] bool isRefresh() const { return refreshes; }
  // The refresh comes this long after the frame was captured, unless a newer frame came first.
  void schedule(std::chrono::nanoseconds after) {
    due = capturedAt + after;
    wakeup->signal();
  }
  // When it is due; the end of time if nobody has requested it.
  [[nodiscard]] Clock::time_point dueAt() const { return due; }

 private:
  Clock::time_point capturedAt;
  bool refreshes;
  std::shared_ptr<EventFd> wakeup;
  std::atomic<Clock::time_point> due = Clock::time_point::max();
};

// The pixels of a captured frame: rows from top to bottom, four bytes a pixel in the order
// blue, green, red, undefined. Any thread.
class CapturedFrame : public PixelBuffer {
 public:
  // `pixels` must stay valid and unchanged for as long as `owner` is held.
  CapturedFrame(std::shared_ptr<const void> owner, const std::uint8_t* pixels, std::size_t widthPx,
                std::size_t heightPx, std::size_t strideBytes)
      : owner(std::move(owner)),
        pixels(pixels),
        width(widthPx),
        height(heightPx),
        stride(strideBytes) {}

  [[nodiscard]] std::size_t widthPx() const override { return width; }
  [[nodiscard]] std::size_t heightPx() const override { return height; }
  [[nodiscard]] const std::uint8_t* data() const { return pixels; }
  [[nodiscard]] std::size_t strideBytes() const { return stride; }

  // This and `setRefreshRequest` before anybody else has the frame.
  void setDamageHistory(std::shared_ptr<const DamageHistory> newHistory) {
    history = std::move(newHistory);
  }
  // Null for a frame that is of no stream.
  [[nodiscard]] const std::shared_ptr<const DamageHistory>& damageHistory() const {
    return history;
  }

  void setRefreshRequest(std::shared_ptr<RefreshRequest> newRequest) {
    refresh = std::move(newRequest);
  }
  [[nodiscard]] bool isRefresh() const { return refresh && refresh->isRefresh(); }
  // Does nothing for a frame that is of no stream.
  void requestRefresh(std::chrono::nanoseconds after) const {
    if (refresh) refresh->schedule(after);
  }

 private:
  std::shared_ptr<const void> owner;
  const std::uint8_t* pixels;
  std::size_t width;
  std::size_t height;
  std::size_t stride;
  std::shared_ptr<RefreshRequest> refresh;
  std::shared_ptr<const DamageHistory> history;
};

}  // namespace quorvin
