#pragma once

#include <cstdint>
#include <cstring>
#include <memory>

#include "platform/linux/frame/CapturedFrame.h"

namespace quorvin {

// A frame in ordinary memory, of one colour.
inline PixelImage makeTestImage(PixelSize size, std::uint32_t colour = 0) {
  PixelImage image;
  image.size = size;
  const std::size_t bytes = image.offsetBytes(0, size.height);
  image.memory =
      std::shared_ptr<std::uint8_t>(new std::uint8_t[bytes], std::default_delete<std::uint8_t[]>());
  for (std::size_t offset = 0; offset < bytes; offset += bytesPerPixel) {
    std::memcpy(image.memory.get() + offset, &colour, sizeof colour);
  }
  return image;
}

inline void setPixel(PixelImage& image, int x, int y, std::uint32_t colour) {
  std::memcpy(image.at(x, y), &colour, sizeof colour);
}

inline std::uint32_t pixelOf(const PixelImage& image, int x, int y) {
  std::uint32_t colour = 0;
  std::memcpy(&colour, image.at(x, y), sizeof colour);
  return colour & 0xffffff;
}

}  // namespace quorvin
