#include "webui/FrameFlowControl.h"

#include <algorithm>
#include <utility>

namespace quorvin::webui {

namespace {
constexpr std::int64_t unacknowledgedMax = 2;
}  // namespace

bool FrameFlowControl::open() const {
  return gate ? gate() : unacknowledged < unacknowledgedMax;
}

std::optional<Frame> FrameFlowControl::offer(const Frame& frame) {
  waiting = frame;
  return due();
}

std::optional<Frame> FrameFlowControl::acknowledge(std::int64_t count) {
  unacknowledged = std::max<std::int64_t>(0, unacknowledged - count);
  return due();
}

std::optional<Frame> FrameFlowControl::due() {
  if (!waiting || !open()) return std::nullopt;
  ++unacknowledged;
  return std::exchange(waiting, std::nullopt);
}

}  // namespace quorvin::webui
