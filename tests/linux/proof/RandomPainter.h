#pragma once

#include <cstdint>
#include <string>

#include "tests/linux/capture/ScreenPainter.h"
#include "tests/linux/proof/RandomSource.h"

namespace quorvin {

// A program that changes the screen in the ways programs do, in an order that its seed decides.
class RandomPainter {
 public:
  RandomPainter(const std::string& server, std::uint64_t seed)
      : painter(server), screen(painter.screenSize()), random(seed) {}

  // Carried out by the server when it returns.
  void change();
  // The least that programs do.
  void drawCaret();

 private:
  void fill();
  void drawFarApart();
  void drawPixels();
  void drawLine();
  void scroll();

  ScreenPainter painter;
  PixelSize screen;
  RandomSource random;
};

}  // namespace quorvin
