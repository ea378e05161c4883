#pragma once

#include <cstdint>
#include <vector>

namespace quorvin {

// An image that encodes like a desktop full of windows with text: plain areas, title bars and rows
// of glyph-like marks. The same seed gives the same image. Rows of 0xRRGGBB pixels.
[[nodiscard]] std::vector<std::uint32_t> desktopImage(int widthPx, int heightPx,
                                                      std::uint32_t seed);

// Lines of such text on paper, each 18 rows high.
[[nodiscard]] std::vector<std::uint32_t> textImage(int widthPx, int heightPx, std::uint32_t seed);

}  // namespace quorvin
