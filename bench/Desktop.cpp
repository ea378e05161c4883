#include "bench/Desktop.h"

#include <algorithm>
#include <cstddef>
#include <random>

namespace quorvin {

namespace {

constexpr int glyphWidthPx = 8;
constexpr int lineHeightPx = 18;
constexpr int titleHeightPx = 24;
constexpr std::uint32_t paper = 0xFCFCFA;
constexpr std::uint32_t ink = 0x202428;

struct Area {
  int x;
  int y;
  int width;
  int height;
};

class Painter {
 public:
  Painter(int width, int height, std::uint32_t seed)
      : width(width),
        height(height),
        pixels(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), 0x35506B),
        generator(seed) {}

  std::vector<std::uint32_t> paint() {
    for (int window = 0; window < 8; ++window) {
      const Area area{random(width * 2 / 3), random(height * 2 / 3), width / 3 + random(width / 3),
                      height / 3 + random(height / 3)};
      fill(area, paper);
      fill({area.x, area.y, area.width, titleHeightPx}, 0x4A6FA5);
      writeLines({area.x + 8, area.y + titleHeightPx + 8, area.width - 16,
                  area.height - titleHeightPx - 16});
    }
    return std::move(pixels);
  }

  std::vector<std::uint32_t> paintText() {
    fill({0, 0, width, height}, paper);
    writeLines({0, 0, width, height});
    return std::move(pixels);
  }

 private:
  int random(int below) {
    return static_cast<int>(generator() % static_cast<unsigned>(std::max(below, 1)));
  }

  void fill(const Area& area, std::uint32_t colour) {
    for (int y = std::max(area.y, 0); y < std::min(area.y + area.height, height); ++y) {
      for (int x = std::max(area.x, 0); x < std::min(area.x + area.width, width); ++x) {
        pixels[static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
               static_cast<std::size_t>(x)] = colour;
      }
    }
  }

  void writeLines(const Area& area) {
    for (int y = area.y; y + lineHeightPx <= area.y + area.height; y += lineHeightPx) {
      const int length = area.width * (40 + random(60)) / 100;
      for (int x = area.x; x + glyphWidthPx <= area.x + length; x += glyphWidthPx) {
        if (random(6) != 0) drawGlyph(x, y);
      }
    }
  }

  // Three strokes make a mark of about a letter's ink.
  void drawGlyph(int x, int y) {
    fill({x + random(5), y + 3, 2, 11}, ink);
    fill({x, y + 3 + random(10), 6, 2}, ink);
    fill({x + random(4), y + 5 + random(6), 3, 2}, 0x70767C);
  }

  int width;
  int height;
  std::vector<std::uint32_t> pixels;
  std::mt19937 generator;
};

}  // namespace

std::vector<std::uint32_t> desktopImage(int widthPx, int heightPx, std::uint32_t seed) {
  return Painter(widthPx, heightPx, seed).paint();
}

std::vector<std::uint32_t> textImage(int widthPx, int heightPx, std::uint32_t seed) {
  return Painter(widthPx, heightPx, seed).paintText();
}

}  // namespace quorvin
