#include <gtest/gtest.h>

#include <cstring>
#include <random>

#include "platform/linux/capture/PixelScaler.h"
#include "tests/linux/capture/TestImages.h"

namespace quorvin {
namespace {

PixelImage noise(PixelSize size) {
  std::mt19937 random(7);  // NOLINT: the same numbers in every run
  PixelImage image = makeTestImage(size);
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x) {
      setPixel(image, x, y, static_cast<std::uint32_t>(random()));
    }
  }
  return image;
}

PixelImage scaledAtOnce(const PixelImage& source, PixelSize picture) {
  PixelScaler scaler(source.size, picture);
  const PixelRegion altered = scaler.sourceChanged(source, PixelRegion(wholeOf(source.size)));
  PixelImage result = makeTestImage(picture);
  scaler.draw(source, altered, result);
  return result;
}

bool areEqual(const PixelImage& a, const PixelImage& b) {
  return a.size == b.size &&
         std::memcmp(a.memory.get(), b.memory.get(), a.offsetBytes(0, a.size.height)) == 0;
}

struct Scaling {
  PixelSize source;
  PixelSize picture;
};

class PixelScalerTest : public testing::TestWithParam<Scaling> {};

// libyuv's interpolation rounds down, at most once for each direction.
bool isAbout(std::uint32_t a, std::uint32_t b) {
  for (const unsigned shift : {0U, 8U, 16U}) {
    const int difference =
        static_cast<int>(a >> shift & 0xff) - static_cast<int>(b >> shift & 0xff);
    if (difference < -2 || difference > 2) return false;
  }
  return true;
}

TEST_P(PixelScalerTest, KeepsAUniformColour) {
  const auto [sourceSize, pictureSize] = GetParam();
  const PixelImage picture = scaledAtOnce(makeTestImage(sourceSize, 0x204060), pictureSize);
  for (int y = 0; y < pictureSize.height; ++y) {
    for (int x = 0; x < pictureSize.width; ++x) {
      ASSERT_PRED2(isAbout, pixelOf(picture, x, y), 0x204060U);
    }
  }
}

TEST_P(PixelScalerTest, UpdatesOfPartsAddUpToTheWhole) {
  const auto [sourceSize, pictureSize] = GetParam();
  PixelImage source = noise(sourceSize);
  PixelScaler scaler(sourceSize, pictureSize);
  PixelImage picture = makeTestImage(pictureSize);
  scaler.draw(source, scaler.sourceChanged(source, PixelRegion(wholeOf(sourceSize))), picture);

  std::mt19937 random(11);  // NOLINT: the same numbers in every run
  for (int round = 0; round < 40; ++round) {
    const int x = static_cast<int>(random() % static_cast<unsigned>(sourceSize.width));
    const int y = static_cast<int>(random() % static_cast<unsigned>(sourceSize.height));
    setPixel(source, x, y, static_cast<std::uint32_t>(random()));
    scaler.draw(source, scaler.sourceChanged(source, PixelRegion({x, y, 1, 1})), picture);
  }
  EXPECT_TRUE(areEqual(picture, scaledAtOnce(source, pictureSize)));
}

INSTANTIATE_TEST_SUITE_P(
    Sizes, PixelScalerTest,
    testing::Values(Scaling{{320, 200}, {320, 200}}, Scaling{{320, 200}, {240, 150}},
                    Scaling{{320, 200}, {160, 100}}, Scaling{{321, 201}, {161, 101}},
                    Scaling{{321, 201}, {150, 93}}, Scaling{{640, 400}, {213, 133}},
                    Scaling{{640, 400}, {90, 56}}, Scaling{{640, 400}, {1, 1}},
                    Scaling{{320, 200}, {320, 150}}, Scaling{{320, 200}, {400, 250}},
                    Scaling{{320, 200}, {400, 100}}, Scaling{{1, 1}, {3, 2}},
                    Scaling{{3, 300}, {2, 100}}));

TEST(PixelScaler, KeepsThinLinesWhenItShrinksALot) {
  PixelImage source = makeTestImage({900, 30}, 0xffffff);
  for (int x = 0; x < 900; x += 3) {
    for (int y = 0; y < 30; ++y) setPixel(source, x + 1, y, 0);
  }
  const PixelImage picture = scaledAtOnce(source, {300, 10});
  // A third of the pixels is black, and no place of the picture lost it.
  for (int x = 2; x < 298; ++x) EXPECT_LT(pixelOf(picture, x, 5) & 0xff, 0xe0U) << x;
}

}  // namespace
}  // namespace quorvin
