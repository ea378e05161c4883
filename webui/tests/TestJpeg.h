#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "platform/Data.h"

namespace quorvin::webui {

// What of a JPEG file says where its segments are, with segments that no decoder could read.
struct TestJpeg {
  std::uint8_t mcusAcross = 4;  // of 16 pixels
  std::uint8_t mcuRows = 2;
  std::uint8_t intervalMcus = 2;
  std::uint8_t frameMarker = 0xC0;
  std::vector<Bytes> segments = {{1}, {2}, {3}, {4}};  // without markers

  [[nodiscard]] Bytes header() const {
    const auto height = static_cast<std::uint8_t>(mcuRows * 16 - 3);
    const auto width = static_cast<std::uint8_t>(mcusAcross * 16 - 5);
    return {0xFF, 0xD8,                             // SOI
            0xFF, 0xFE,        0, 4,    'x',  'y',  // a comment
            0xFF, frameMarker, 0, 11,   8,    0,   height, 0, width,        1,
            1,    0x22,        0, 0xFF, 0xDD, 0,   4,      0, intervalMcus,      // DRI
            0xFF, 0xDA,        0, 8,    1,    1,   0,      0, 63,           0};  // SOS
  }
  [[nodiscard]] Bytes file() const {
    auto bytes = header();
    for (std::size_t i = 0; i < segments.size(); ++i) {
      const bool isLast = i + 1 == segments.size();
      bytes.insert(bytes.end(), segments[i].begin(), segments[i].end());
      bytes.push_back(0xFF);
      bytes.push_back(static_cast<std::uint8_t>(isLast ? 0xD9 : 0xD0 + i % 8));
    }
    return bytes;
  }
};

}  // namespace quorvin::webui
