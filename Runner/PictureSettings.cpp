#include "Runner/PictureSettings.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <limits>
#include <string_view>

#include "platform/Fatal.h"

namespace quorvin {

namespace {

std::optional<std::int64_t> wholeNumber(const Value& value) {
  if (const auto* integer = value.as<std::int64_t>()) return *integer;
  if (const auto* number = value.as<double>()) {
    constexpr double limit = 9223372036854775808.0;  // 2^63; the doubles below it fit
    if (*number >= -limit && *number < limit && *number == std::trunc(*number)) {
      return static_cast<std::int64_t>(*number);
    }
  }
  return std::nullopt;
}

// Takes settings out of the map one by one and remembers whether all of them were good.
class SettingsReader {
 public:
  explicit SettingsReader(const Map& map) : map(map) {}

  void boolean(std::string_view key, bool& setting) {
    const auto* value = map.find(key);
    const auto* flag = value == nullptr ? nullptr : value->as<bool>();
    if (flag == nullptr) {
      valid = false;
    } else {
      setting = *flag;
    }
  }

  void choice(std::string_view key, std::initializer_list<std::string_view> accepted,
              std::string& setting) {
    const auto* value = map.find(key);
    const auto* text = value == nullptr ? nullptr : value->as<std::string>();
    for (const auto candidate : accepted) {
      if (text != nullptr && *text == candidate) {
        setting = *text;
        return;
      }
    }
    valid = false;
  }

  void integer(std::string_view key, std::int64_t min, std::int64_t max, std::int64_t& setting) {
    const auto* value = map.find(key);
    const auto number = value == nullptr ? std::nullopt : wholeNumber(*value);
    if (number && *number >= min && *number <= max) {
      setting = *number;
    } else {
      valid = false;
    }
  }

  [[nodiscard]] bool allGood() const { return valid; }

 private:
  const Map& map;
  bool valid = true;
};

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

std::optional<PictureSettings> parsePictureSettings(const Value& arguments) {
  const auto* map = arguments.as<Map>();
  if (map == nullptr || !map->hasOnlyStringKeys()) return std::nullopt;

  PictureSettings settings;
  std::string profile;  // a name the host must know, and otherwise the user interface's affair
  SettingsReader reader(*map);
  reader.choice("profile", {"fast", "balanced", "sharp"}, profile);
  reader.boolean("show_cursor", settings.showCursor);
  reader.choice("codec", {"jpeg", "h264"}, settings.codec);
  reader.integer("max_width", 640, 4096, settings.maxWidth);
  reader.integer("max_height", 480, 2304, settings.maxHeight);
  reader.integer("fps", 5, 60, settings.fps);
  reader.integer("bitrate_mbps", 1, 20, settings.bitrateMbps);
  reader.integer("jpeg_quality", 40, 95, settings.jpegQuality);
  reader.integer("queue_depth", 1, 8, settings.queueDepth);
  if (!reader.allGood()) return std::nullopt;
  return settings;
}

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
