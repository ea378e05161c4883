#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>

#include "platform/linux/frame/PixelRegion.h"

namespace quorvin {

inline constexpr std::size_t bytesPerPixel = 4;

// An image of 32-bit pixels, blue first, without gaps between the rows. The fourth byte is
// whatever the X server left there.
struct PixelImage {
  PixelSize size;
  std::shared_ptr<std::uint8_t> memory;
  // Names the memory to the X server, which can then write into it; 0 when it cannot.
  std::uint32_t segment = 0;
  // Keeps the segment known to the server. Belongs to the thread of the server's connection.
  std::shared_ptr<const void> attachment;

  [[nodiscard]] std::size_t strideBytes() const {
    return static_cast<std::size_t>(size.width) * bytesPerPixel;
  }
  [[nodiscard]] std::size_t offsetBytes(int x, int y) const {
    return static_cast<std::size_t>(y) * strideBytes() +
           static_cast<std::size_t>(x) * bytesPerPixel;
  }
  [[nodiscard]] std::uint8_t* at(int x, int y) const { return memory.get() + offsetBytes(x, y); }
};

using PixelImageFactory = std::function<PixelImage(PixelSize)>;

}  // namespace quorvin
