#pragma once

#include <algorithm>
#include <cstdint>
#include <random>

#include "platform/linux/frame/PixelRegion.h"

namespace quorvin {

// Chance that comes out the same for the same seed, whatever the standard library.
class RandomSource {
 public:
  explicit RandomSource(std::uint64_t seed) : engine(seed) {}

  // Both bounds included.
  int between(int least, int most) {
    const auto span = static_cast<std::uint64_t>(most - least) + 1;
    return least + static_cast<int>(engine() % span);
  }
  bool oneIn(int times) { return between(1, times) == 1; }
  std::uint32_t colour() { return static_cast<std::uint32_t>(engine() & 0xffffff); }
  // Somewhere inside, of any size up to this one.
  PixelRect rect(PixelSize inside, PixelSize most) {
    const int width = between(1, std::min(inside.width, most.width));
    const int height = between(1, std::min(inside.height, most.height));
    return {between(0, inside.width - width), between(0, inside.height - height), width, height};
  }

 private:
  std::mt19937_64 engine;
};

}  // namespace quorvin
