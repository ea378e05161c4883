#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <utility>

#include "platform/Data.h"

namespace quorvin::webui {

using FrameClock = std::chrono::steady_clock;

struct Frame {
  Data payload;
  FrameClock::time_point arrivedAt;
};

// Flow control for the frames to one page. By credit, unless a gate is given that decides: at most
// two that the page has not acknowledged are on their way, so that one travels while the other is
// drawn. Behind them at most one waits, always the newest.
class FrameFlowControl {
 public:
  // Whether another frame may go now.
  using Gate = std::function<bool()>;

  FrameFlowControl() = default;
  explicit FrameFlowControl(Gate gate) : gate(std::move(gate)) {}

  // The frame to send now, if any. A frame that must wait replaces the one that waits.
  [[nodiscard]] std::optional<Frame> offer(const Frame& frame);
  // The waiting frame, if the page may have it now.
  [[nodiscard]] std::optional<Frame> acknowledge(std::int64_t count);
  // The same where a gate may have opened by itself.
  [[nodiscard]] std::optional<Frame> due();
  [[nodiscard]] bool frameWaits() const { return waiting.has_value(); }
  void dropWaiting() { waiting.reset(); }

 private:
  [[nodiscard]] bool open() const;

  Gate gate;
  std::int64_t unacknowledged = 0;
  std::optional<Frame> waiting;
};

}  // namespace quorvin::webui
