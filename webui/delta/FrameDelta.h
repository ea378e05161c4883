#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "platform/Data.h"
#include "webui/delta/SegmentedJpeg.h"

namespace quorvin::webui {

// The frames that go to one receiver, in the form that costs least: as the host sent them, or,
// where only some segments of a JPEG file have changed since the frame before, as a delta.
// docs/delta-form.md has the bytes. Each frame that is asked for has to be sent, in this order.
class FrameDeltas {
 public:
  // `segments` are the payload's, and null when it has none.
  [[nodiscard]] Data next(const Data& payload, std::shared_ptr<const SegmentedJpeg> segments);
  // The receiver has no use for a delta any more: the next frame goes whole.
  void forget() { last.reset(); }

 private:
  std::uint32_t sent = 0;  // frames, whole or not
  std::shared_ptr<const SegmentedJpeg> last;
};

// What has to be replaced in the base, the frame of that number, to make the next file; nothing
// when the two differ in more than that, or when the whole file costs hardly more.
[[nodiscard]] std::optional<Bytes> deltaBetween(const SegmentedJpeg& base,
                                                const SegmentedJpeg& next,
                                                std::uint32_t baseNumber);

}  // namespace quorvin::webui
