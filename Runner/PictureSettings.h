#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "platform/ScreenCapture.h"
#include "platform/Value.h"

namespace quorvin {

// What the user interface asks of the picture. The defaults are those of a fresh capture.
struct PictureSettings {
  bool showCursor = true;
  std::string codec = "jpeg";
  std::int64_t maxWidth = 1920;   // pixels
  std::int64_t maxHeight = 1200;  // pixels
  std::int64_t fps = 30;
  std::int64_t bitrateMbps = 7;
  std::int64_t jpegQuality = 72;  // percent
  std::int64_t queueDepth = 3;

  friend bool operator==(const PictureSettings&, const PictureSettings&) = default;
};

// The settings in the arguments of "configureStream", or nothing when they are not a map with
// string keys or a setting is missing, of another type or out of range. A number with a whole
// value counts as an integer, whichever way it was sent; a boolean never does.
[[nodiscard]] std::optional<PictureSettings> parsePictureSettings(const Value& arguments);

// The stream settings for a display of the given size in points: the frame keeps the display's
// proportions, fits both limits and is never larger than the display. Values that a stream cannot
// express stop the process.
[[nodiscard]] StreamConfiguration makeStreamConfiguration(const PictureSettings& settings,
                                                          std::int64_t displayWidth,
                                                          std::int64_t displayHeight);

}  // namespace quorvin
