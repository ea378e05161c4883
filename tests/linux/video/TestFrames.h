#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "platform/linux/frame/CapturedFrame.h"
#include "platform/linux/frame/PixelRegion.h"

namespace quorvin {

// 0xRRGGBB at a place.
using PixelAt = std::function<std::uint32_t(int x, int y)>;

// A frame of no stream. Its fourth bytes are such that whoever looks at them is found out.
inline std::shared_ptr<CapturedFrame> makeFrame(PixelSize size, const PixelAt& pixelAt) {
  constexpr std::uint32_t noise = 0xA5000000;
  auto pixels = std::make_shared<std::vector<std::uint32_t>>();
  pixels->reserve(static_cast<std::size_t>(size.width) * static_cast<std::size_t>(size.height));
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x) pixels->push_back(noise | pixelAt(x, y));
  }
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(pixels->data());
  return std::make_shared<CapturedFrame>(
      std::move(pixels), bytes, static_cast<std::size_t>(size.width),
      static_cast<std::size_t>(size.height), static_cast<std::size_t>(size.width) * 4);
}

inline std::shared_ptr<CapturedFrame> makeFrame(PixelSize size,
                                                const std::vector<std::uint32_t>& pixels) {
  return makeFrame(size, [&](int x, int y) {
    return pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(size.width) +
                  static_cast<std::size_t>(x)];
  });
}

inline std::shared_ptr<CapturedFrame> plainFrame(PixelSize size, std::uint32_t colour) {
  return makeFrame(size, [colour](int, int) { return colour; });
}

}  // namespace quorvin
