#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

#include "platform/Data.h"

namespace quorvin::webui {

using FrameClock = std::chrono::steady_clock;

struct Frame {
  Data payload;
  FrameClock::time_point arrivedAt;
};

// Flow control by credit for the frames to one page: at most two that the page has not acknowledged
// are on their way, so that one travels while the other is drawn, and behind them at most one
// waits, always the newest.
class FrameFlowControl {
 public:
  // The frame to send now, if any. A frame that must wait replaces the one that waits.
  [[nodiscard]] std::optional<Frame> offer(const Frame& frame);
  // The waiting frame, if the page may have it now.
  [[nodiscard]] std::optional<Frame> acknowledge(std::int64_t count);
  void dropWaiting() { waiting.reset(); }

 private:
  std::int64_t unacknowledged = 0;
  std::optional<Frame> waiting;
};

}  // namespace quorvin::webui
