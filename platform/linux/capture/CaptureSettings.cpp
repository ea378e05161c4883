#include "platform/linux/capture/CaptureSettings.h"

#include <algorithm>
#include <cmath>

#include "platform/linux/x11/X11Error.h"

namespace quorvin {

namespace {

// Beyond any display, and small enough that a frame's bytes can be counted in 32 bits.
constexpr std::int64_t longestSidePx = 16'384;
// X11 does not say how often a display shows a new frame; most do so this often.
constexpr MediaTime usualRefreshInterval{1, 60};
constexpr double longestIntervalSeconds = 3600;

Error invalid(const char* sentence) {
  return x11Error(X11ErrorCode::invalidParameter, sentence);
}

bool isSide(std::int64_t px) {
  return px >= 1 && px <= longestSidePx;
}

std::chrono::nanoseconds durationOf(MediaTime time) {
  if (time.value < 0 || time.timescale <= 0) {
    throw invalid("The frame interval of a capture must be a duration.");
  }
  if (time.value == 0) time = usualRefreshInterval;
  const double seconds =
      std::min(static_cast<double>(time.value) / time.timescale, longestIntervalSeconds);
  return std::chrono::duration_cast<std::chrono::nanoseconds>(
      std::chrono::duration<double>(seconds));
}

}  // namespace

PixelSize fittedInto(PixelSize box, PixelSize display) {
  const double scale = std::min({1.0, static_cast<double>(box.width) / display.width,
                                 static_cast<double>(box.height) / display.height});
  const auto scaled = [scale](int px) {
    return std::max(1, static_cast<int>(std::lround(scale * px)));
  };
  return {scaled(display.width), scaled(display.height)};
}

CaptureSettings checkedSettings(const StreamConfiguration& configuration) {
  if (!isSide(configuration.width) || !isSide(configuration.height)) {
    throw invalid("The picture of a capture must measure 1 to 16384 pixels each way.");
  }
  if (configuration.pixelFormat != pixelFormat32BGRA) {
    throw invalid("The only pixel format that a capture can deliver is BGRA.");
  }
  if (configuration.queueDepth < 1) {
    throw invalid("The queue of a capture must hold at least one picture.");
  }
  CaptureSettings settings;
  settings.frameSize = {static_cast<int>(configuration.width),
                        static_cast<int>(configuration.height)};
  settings.frameInterval = durationOf(configuration.minimumFrameInterval);
  settings.queueDepth = static_cast<std::size_t>(configuration.queueDepth);
  settings.showsCursor = configuration.showsCursor;
  return settings;
}

}  // namespace quorvin
