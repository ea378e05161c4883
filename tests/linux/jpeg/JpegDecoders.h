#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "platform/linux/frame/CapturedFrame.h"

namespace quorvin {

// Others' ways to and from JPEG files. All throw std::runtime_error at the slightest complaint.

// The whole frame by TurboJPEG, from its pixels.
[[nodiscard]] std::vector<std::uint8_t> encodeWithTurboJpeg(const CapturedFrame& frame,
                                                            int quality);
// The same from what libyuv makes of the whole frame's colours.
[[nodiscard]] std::vector<std::uint8_t> encodePlanesWithTurboJpeg(const CapturedFrame& frame,
                                                                  int quality);
// That of the two which the host is to agree with.
[[nodiscard]] inline std::vector<std::uint8_t> encodeAsTheHostDoes(const CapturedFrame& frame,
                                                                   int quality) {
  return quality < 96 ? encodePlanesWithTurboJpeg(frame, quality)
                      : encodeWithTurboJpeg(frame, quality);
}

// Rows of red, green and blue without gaps.
[[nodiscard]] std::vector<std::uint8_t> decodeWithTurboJpeg(std::span<const std::uint8_t> file);

// The three planes one after the other.
[[nodiscard]] std::vector<std::uint8_t> decodeWithLibavcodec(std::span<const std::uint8_t> file);

}  // namespace quorvin
