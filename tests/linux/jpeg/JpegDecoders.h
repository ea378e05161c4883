#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "platform/linux/frame/CapturedPixelBuffer.h"

namespace quorvin {

// Others' ways to and from JPEG files. All throw std::runtime_error at the slightest complaint.

// The whole picture by TurboJPEG, from its pixels.
[[nodiscard]] std::vector<std::uint8_t> encodeWithTurboJpeg(const CapturedPixelBuffer& picture,
                                                            int quality);
// The same from what libyuv makes of the whole picture's colours.
[[nodiscard]] std::vector<std::uint8_t> encodePlanesWithTurboJpeg(
    const CapturedPixelBuffer& picture, int quality);
// That of the two which the host is to agree with.
[[nodiscard]] inline std::vector<std::uint8_t> encodeAsTheHostDoes(
    const CapturedPixelBuffer& picture, int quality) {
  return quality < 96 ? encodePlanesWithTurboJpeg(picture, quality)
                      : encodeWithTurboJpeg(picture, quality);
}

// Rows of red, green and blue without gaps.
[[nodiscard]] std::vector<std::uint8_t> decodeWithTurboJpeg(std::span<const std::uint8_t> file);

// The three planes one after the other.
[[nodiscard]] std::vector<std::uint8_t> decodeWithLibavcodec(std::span<const std::uint8_t> file);

}  // namespace quorvin
