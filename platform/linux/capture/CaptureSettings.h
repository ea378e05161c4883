#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>

#include "platform/ScreenCapture.h"
#include "platform/linux/frame/PixelRegion.h"

namespace quorvin {

// A stream configuration that has been found sound.
struct CaptureSettings {
  PixelSize frameSize;
  std::chrono::nanoseconds frameInterval{};
  std::size_t queueDepth = 0;
  bool showsCursor = false;
};

// The size of the largest frame of a display of that size, with its proportions and no larger
// than itself, that the box holds.
[[nodiscard]] PixelSize fittedInto(PixelSize box, PixelSize display);

// Throws Error naming what is wrong. A frame interval of zero asks for the display's own rate.
[[nodiscard]] CaptureSettings checkedSettings(const StreamConfiguration& configuration);

// What the captures of this process have asked of the X server so far. Any thread.
struct CaptureCounters {
  std::atomic<std::uint64_t> polls = 0;  // times that a stream asked what had changed
  std::atomic<std::uint64_t> fetchedBytes = 0;
};

}  // namespace quorvin
