#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <vector>

#include "tests/contract/CaptureRecorders.h"

namespace quorvin::contract {

struct Colour {
  std::uint8_t red = 0;
  std::uint8_t green = 0;
  std::uint8_t blue = 0;
};

using ColourAt = std::function<Colour(std::size_t x, std::size_t y)>;

// What an encoded frame shows: rows from the top.
struct DecodedFrame {
  FrameSize size;
  std::vector<Colour> pixels;

  [[nodiscard]] Colour at(std::size_t x, std::size_t y) const {
    return pixels.at(y * size.width + x);
  }
};

}  // namespace quorvin::contract
