// Changes an X screen as it is told on its standard input, one order a line, and answers "done"
// once the server has carried it out: "desktop <seed>", "fill <x> <y> <width> <height> <colour>",
// "cursor <side> <colour> <hot spot>", "pointer <x> <y>", "scroll <rows> <seed>". Colours are
// 0xRRGGBB.

#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <sstream>
#include <string>

#include "bench/Desktop.h"
#include "tests/linux/capture/ScreenPainter.h"

namespace quorvin {
namespace {

bool carryOut(const std::string& line, ScreenPainter& painter) {
  std::istringstream words(line);
  words.unsetf(std::ios::basefield);  // so that numbers may be hexadecimal
  std::string order;
  words >> order;
  if (order == "desktop") {
    std::uint32_t seed = 0;
    words >> seed;
    const auto size = painter.screenSize();
    painter.draw(wholeOf(size), desktopImage(size.width, size.height, seed));
  } else if (order == "fill") {
    PixelRect area;
    std::uint32_t colour = 0;
    words >> area.x >> area.y >> area.width >> area.height >> colour;
    painter.fill(area, colour);
  } else if (order == "cursor") {
    int side = 0;
    std::uint32_t colour = 0;
    int hotSpot = 0;
    words >> side >> colour >> hotSpot;
    painter.setCursor(side, colour, hotSpot);
  } else if (order == "pointer") {
    int x = 0;
    int y = 0;
    words >> x >> y;
    painter.movePointer(x, y);
  } else if (order == "scroll") {
    int rows = 0;
    std::uint32_t seed = 0;
    words >> rows >> seed;
    const auto [width, height] = painter.screenSize();
    painter.copy({0, rows, width, height - rows}, 0, 0);
    painter.draw({0, height - rows, width, rows}, textImage(width, rows, seed));
  } else {
    return false;
  }
  return !words.fail();
}

int run(const std::string& display) {
  ScreenPainter painter(display);
  for (std::string line; std::getline(std::cin, line);) {
    std::cout << (carryOut(line, painter) ? "done" : "not understood: " + line) << std::endl;
  }
  return 0;
}

}  // namespace
}  // namespace quorvin

int main() {
  const char* display = std::getenv("DISPLAY");
  return display == nullptr ? 2 : quorvin::run(display);
}
