#include "Runner/StreamGeometry.h"

#include <algorithm>
#include <limits>

#include "platform/Fatal.h"

namespace quorvin {

namespace {

std::int64_t frameDimension(double scale, std::int64_t displayDimension) {
  const double exact = scale * static_cast<double>(displayDimension);
  constexpr double limit = 9223372036854775808.0;  // 2^63
  // Written so that NaN fails it too.
  if (!(exact >= -limit && exact < limit)) {
    fatalError("The picture size cannot be represented.");
  }
  return std::max<std::int64_t>(static_cast<std::int64_t>(exact), 1);
}

std::int32_t timescale(std::int64_t fps) {
  if (fps < std::numeric_limits<std::int32_t>::min() ||
      fps > std::numeric_limits<std::int32_t>::max()) {
    fatalError("The frame rate cannot be represented.");
  }
  return static_cast<std::int32_t>(fps);
}

}  // namespace

StreamConfiguration makeStreamConfiguration(const PictureSettings& settings,
                                            std::int64_t displayWidth, std::int64_t displayHeight) {
  const double horizontal =
      static_cast<double>(settings.maxWidth) / static_cast<double>(displayWidth);
  const double vertical =
      static_cast<double>(settings.maxHeight) / static_cast<double>(displayHeight);
  const double scale = std::min(1.0, std::min(horizontal, vertical));

  StreamConfiguration configuration;
  configuration.width = frameDimension(scale, displayWidth);
  configuration.height = frameDimension(scale, displayHeight);
  configuration.minimumFrameInterval = MediaTime{1, timescale(settings.fps)};
  configuration.queueDepth = settings.queueDepth;
  configuration.showsCursor = settings.showCursor;
  configuration.pixelFormat = pixelFormat32BGRA;
  return configuration;
}

}  // namespace quorvin
