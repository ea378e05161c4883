#include "tests/linux/proof/RandomPainter.h"

#include <algorithm>
#include <vector>

namespace quorvin {

void RandomPainter::change() {
  switch (random.between(0, 15)) {
    case 0:
      return painter.fillAll(random.colour());
    case 1:
    case 2:
      return fill();
    case 3:
    case 4:
    case 5:
      return drawFarApart();
    case 6:
    case 7:
      return scroll();
    case 8:
    case 9:
      return drawPixels();
    case 10:
    case 11:
      return drawLine();
    default:
      return drawCaret();
  }
}

void RandomPainter::drawCaret() {
  painter.fill(random.rect(screen, {3, 14}), random.colour());
}

void RandomPainter::fill() {
  painter.fill(random.rect(screen, screen), random.colour());
}

// One at the top and one at the bottom, with much in between that stays.
void RandomPainter::drawFarApart() {
  auto top = random.rect({screen.width, screen.height / 4}, {8, 4});
  painter.fill(top, random.colour());
  top.y = screen.height - 1 - top.y - top.height;
  painter.fill(top, random.colour());
}

void RandomPainter::drawPixels() {
  const auto area = random.rect(screen, {64, 48});
  const bool isNoise = random.oneIn(2);
  auto colour = random.colour();
  std::vector<std::uint32_t> pixels(static_cast<std::size_t>(area.area()));
  for (auto& pixel : pixels) {
    colour = isNoise ? random.colour() : (colour + 0x010203) & 0xffffff;
    pixel = colour;
  }
  painter.draw(area, pixels);
}

// Letters of a kind, all the way across.
void RandomPainter::drawLine() {
  constexpr PixelSize letter{6, 11};
  const int y = random.between(0, screen.height - letter.height);
  for (int x = 0; x + letter.width <= screen.width; x += 2 * letter.width) {
    const auto glyph = random.rect(letter, letter).movedBy(x, y);
    painter.fill(glyph, random.oneIn(2) ? 0 : 0xffffff);
  }
}

void RandomPainter::scroll() {
  const auto from = random.rect(screen, screen);
  const bool isDown = random.oneIn(2);
  const int step = random.between(1, 24);
  painter.copy(from, from.x, isDown ? from.y + step : from.y - step);
}

}  // namespace quorvin
