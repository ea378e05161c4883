#include "tests/e2e/link/JpegHeader.h"

#include <cstddef>

namespace quorvin {
namespace {

constexpr std::uint8_t markerStart = 0xFF;
constexpr std::uint8_t startOfImage = 0xD8;
constexpr std::uint8_t endOfImage = 0xD9;

bool isFrameHeader(std::uint8_t marker) {
  // C4, C8 and CC lie in the same range but are tables and an extension.
  return marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
}

int bigEndian16(std::span<const std::uint8_t> bytes, std::size_t at) {
  return bytes[at] << 8 | bytes[at + 1];
}

}  // namespace

std::optional<JpegSize> jpegSize(std::span<const std::uint8_t> file) {
  constexpr std::size_t frameHeaderSize = 9;  // from the marker to the width
  if (file.size() < 4 || file[0] != markerStart || file[1] != startOfImage ||
      file[file.size() - 2] != markerStart || file[file.size() - 1] != endOfImage) {
    return std::nullopt;
  }
  std::size_t at = 2;
  while (at + frameHeaderSize <= file.size() && file[at] == markerStart) {
    if (isFrameHeader(file[at + 1])) {
      return JpegSize{.widthPx = bigEndian16(file, at + 7), .heightPx = bigEndian16(file, at + 5)};
    }
    at += 2 + static_cast<std::size_t>(bigEndian16(file, at + 2));
  }
  return std::nullopt;
}

}  // namespace quorvin
