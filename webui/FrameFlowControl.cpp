#include "webui/FrameFlowControl.h"

#include <algorithm>
#include <utility>

namespace quorvin::webui {

namespace {
constexpr std::int64_t unacknowledgedMax = 2;
}  // namespace

std::optional<Frame> FrameFlowControl::offer(const Frame& frame) {
  if (unacknowledged >= unacknowledgedMax) {
    waiting = frame;
    return std::nullopt;
  }
  ++unacknowledged;
  return frame;
}

std::optional<Frame> FrameFlowControl::acknowledge(std::int64_t count) {
  unacknowledged = std::max<std::int64_t>(0, unacknowledged - count);
  if (!waiting || unacknowledged >= unacknowledgedMax) return std::nullopt;
  ++unacknowledged;
  return std::exchange(waiting, std::nullopt);
}

}  // namespace quorvin::webui
