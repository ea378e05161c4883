#pragma once

#include <chrono>
#include <cstddef>

#include "platform/ScreenCapture.h"
#include "platform/linux/capture/PixelRegion.h"

namespace quorvin {

// A stream configuration that has been found sound.
struct CaptureSettings {
  PixelSize picture;
  std::chrono::nanoseconds frameInterval{};
  std::size_t queueDepth = 0;
  bool showsCursor = false;
};

// Throws Error naming what is wrong. A frame interval of zero asks for the display's own rate.
[[nodiscard]] CaptureSettings checkedSettings(const StreamConfiguration& configuration);

}  // namespace quorvin
