#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "platform/linux/capture/CapturedPixelBuffer.h"

namespace quorvin {

// Others' ways to and from JPEG files. All throw std::runtime_error at the slightest complaint.

// The whole picture by TurboJPEG, as the host wrote it before it kept rows.
[[nodiscard]] std::vector<std::uint8_t> encodeWithTurboJpeg(const CapturedPixelBuffer& picture,
                                                            int quality);

// Rows of red, green and blue without gaps.
[[nodiscard]] std::vector<std::uint8_t> decodeWithTurboJpeg(std::span<const std::uint8_t> file);

// The three planes one after the other.
[[nodiscard]] std::vector<std::uint8_t> decodeWithLibavcodec(std::span<const std::uint8_t> file);

}  // namespace quorvin
