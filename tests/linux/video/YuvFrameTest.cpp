#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <random>

#include "tests/linux/video/EncoderHarness.h"

namespace quorvin {
namespace {

struct Components {
  double luma = 0;
  double blueChroma = 0;
  double redChroma = 0;
};

// ITU-R BT.709-6 in floating point.
Components componentsOf(double red, double green, double blue) {
  const double luma = 0.2126 * red + 0.7152 * green + 0.0722 * blue;
  return {16 + 219 * luma / 255, 128 + 224 * (blue - luma) / 1.8556 / 255,
          128 + 224 * (red - luma) / 1.5748 / 255};
}

double byteAt(std::uint32_t pixel, unsigned shift) {
  return static_cast<double>(pixel >> shift & 0xFFU);
}

Components componentsOf(std::uint32_t pixel) {
  return componentsOf(byteAt(pixel, 16), byteAt(pixel, 8), byteAt(pixel, 0));
}

// Compares a conversion with the formulas, each colour of four pixels being their mean.
void expectConversion(PixelSize size, const PixelAt& pixelAt) {
  const auto decoded = perfectlyDecoded(*makeFrame(size, pixelAt));
  ASSERT_EQ(decoded.size, (PixelSize{(size.width + 1) / 2 * 2, (size.height + 1) / 2 * 2}));
  const auto clampedAt = [&](int x, int y) {
    return pixelAt(std::min(x, size.width - 1), std::min(y, size.height - 1));
  };
  constexpr double rounding = 0.51;
  for (int y = 0; y < decoded.size.height; ++y) {
    for (int x = 0; x < decoded.size.width; ++x) {
      const auto place = static_cast<std::size_t>(std::ptrdiff_t{y} * decoded.size.width + x);
      ASSERT_NEAR(decoded.lumas.at(place), componentsOf(clampedAt(x, y)).luma, rounding)
          << x << ", " << y;
      if (x % 2 != 0 || y % 2 != 0) continue;
      Components mean;
      for (const auto& [dx, dy] : {std::pair{0, 0}, {1, 0}, {0, 1}, {1, 1}}) {
        const auto one = componentsOf(clampedAt(x + dx, y + dy));
        mean.blueChroma += one.blueChroma / 4;
        mean.redChroma += one.redChroma / 4;
      }
      const auto half =
          static_cast<std::size_t>(std::ptrdiff_t{y / 2} * (decoded.size.width / 2) + x / 2);
      ASSERT_NEAR(decoded.blueChromas.at(half), mean.blueChroma, rounding) << x << ", " << y;
      ASSERT_NEAR(decoded.redChromas.at(half), mean.redChroma, rounding) << x << ", " << y;
    }
  }
}

PixelAt noise(unsigned seed) {
  return [seed](int x, int y) {
    std::mt19937 generator(seed + static_cast<unsigned>(x) * 7919U +
                           static_cast<unsigned>(y) * 104'729U);
    return static_cast<std::uint32_t>(generator() & 0xFFFFFFU);
  };
}

TEST(YuvFrame, FollowsTheFormulasForEveryKindOfColour) {
  expectConversion({128, 64}, noise(1));
}

TEST(YuvFrame, FollowsTheFormulasAtTheCornersOfTheColourCube) {
  constexpr std::array<std::uint32_t, 8> corners{0x000000, 0x0000FF, 0x00FF00, 0x00FFFF,
                                                 0xFF0000, 0xFF00FF, 0xFFFF00, 0xFFFFFF};
  expectConversion({16, 4},
                   [&](int x, int /*y*/) { return corners.at(static_cast<std::size_t>(x / 2)); });
}

TEST(YuvFrame, GivesGreysNoChroma) {
  const auto decoded = perfectlyDecoded(*makeFrame(
      {512, 2}, [](int x, int /*y*/) { return static_cast<std::uint32_t>(x / 2) * 0x010101U; }));
  for (const auto chroma : decoded.blueChromas) EXPECT_EQ(chroma, 128);
  for (const auto chroma : decoded.redChromas) EXPECT_EQ(chroma, 128);
  EXPECT_EQ(decoded.lumas.front(), 16);
  EXPECT_EQ(decoded.lumas.back(), 235);
}

// Widths around those of the vector units, each odd and even.
TEST(YuvFrame, ConvertsEverySizeAndDoublesTheEdgesOfOddOnes) {
  for (int width = 1; width <= 70; ++width) expectConversion({width, 3}, noise(2));
  for (int height = 1; height <= 9; ++height) expectConversion({33, height}, noise(3));
}

}  // namespace
}  // namespace quorvin
