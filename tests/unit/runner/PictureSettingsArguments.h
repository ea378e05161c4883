#pragma once

#include <string>

#include "platform/Value.h"

namespace quorvin {

inline Map validPictureSettings() {
  return Map{{"profile", "balanced"}, {"show_cursor", true}, {"codec", "jpeg"},
             {"max_width", 1920},     {"max_height", 1200},  {"fps", 30},
             {"bitrate_mbps", 7},     {"jpeg_quality", 72},  {"queue_depth", 3}};
}

// The valid settings with one of them replaced or added.
inline Map pictureSettingsWith(const std::string& key, const Value& value) {
  Map map;
  const auto valid = validPictureSettings();
  for (const auto& entry : valid.entries()) {
    if (*entry.key.as<std::string>() != key) map.append(entry.key, entry.value);
  }
  map.append(key, value);
  return map;
}

}  // namespace quorvin
