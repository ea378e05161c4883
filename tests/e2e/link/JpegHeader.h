#pragma once

#include <cstdint>
#include <optional>
#include <span>

namespace quorvin {

struct JpegSize {
  int widthPx = 0;
  int heightPx = 0;

  friend bool operator==(const JpegSize&, const JpegSize&) = default;
};

// The size that the frame header of a JPEG file gives (ITU-T T.81, B.2.2); nothing for bytes that
// are not a whole file from its first marker to its last.
[[nodiscard]] std::optional<JpegSize> jpegSize(std::span<const std::uint8_t> file);

}  // namespace quorvin
