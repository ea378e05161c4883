#pragma once

#include <cstdint>

#include "Runner/PictureSettings.h"
#include "platform/ScreenCapture.h"

namespace quorvin {

// The stream settings for a display of the given size in points: the frame keeps the display's
// proportions, fits both limits and is never larger than the display. Values that a stream cannot
// express stop the process.
[[nodiscard]] StreamConfiguration makeStreamConfiguration(const PictureSettings& settings,
                                                          std::int64_t displayWidth,
                                                          std::int64_t displayHeight);

}  // namespace quorvin
