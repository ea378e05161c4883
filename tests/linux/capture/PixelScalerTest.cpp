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

PixelImage scaledAtOnce(const PixelImage& source, PixelSize frame) {
  PixelScaler scaler(source.size, frame);
  const RowSet altered = scaler.sourceChanged(source, RowSet({0, source.size.height}));
  PixelImage result = makeTestImage(frame);
  scaler.draw(source, altered, result);
  return result;
}

bool areEqual(const PixelImage& a, const PixelImage& b) {
  return a.size == b.size &&
         std::memcmp(a.memory.get(), b.memory.get(), a.offsetBytes(0, a.size.height)) == 0;
}

struct Scaling {
  PixelSize source;
  PixelSize frame;
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
  const auto [sourceSize, frameSize] = GetParam();
  const PixelImage frame = scaledAtOnce(makeTestImage(sourceSize, 0x204060), frameSize);
  for (int y = 0; y < frameSize.height; ++y) {
    for (int x = 0; x < frameSize.width; ++x) {
      ASSERT_PRED2(isAbout, pixelOf(frame, x, y), 0x204060U);
    }
  }
}

int randomBelow(std::mt19937& random, int limit) {
  return static_cast<int>(random() % static_cast<unsigned>(limit));
}

// Puts noise into a rectangle and returns its rows.
RowRange disturb(PixelImage& image, std::mt19937& random) {
  const PixelRect rect = intersectionOf(
      {randomBelow(random, image.size.width), randomBelow(random, image.size.height),
       1 + randomBelow(random, 40), 1 + randomBelow(random, randomBelow(random, 4) == 0 ? 40 : 3)},
      wholeOf(image.size));
  for (int y = rect.y; y < rect.bottom(); ++y) {
    for (int x = rect.x; x < rect.right(); ++x) {
      setPixel(image, x, y, static_cast<std::uint32_t>(random()));
    }
  }
  return {rect.y, rect.bottom()};
}

TEST_P(PixelScalerTest, UpdatesOfPartsAddUpToTheWhole) {
  const auto [sourceSize, frameSize] = GetParam();
  PixelImage source = noise(sourceSize);
  PixelScaler scaler(sourceSize, frameSize);
  PixelImage frame = makeTestImage(frameSize);
  scaler.draw(source, scaler.sourceChanged(source, RowSet({0, sourceSize.height})), frame);

  std::mt19937 random(11);  // NOLINT: the same numbers in every run
  for (int round = 0; round < 40; ++round) {
    RowSet changed(disturb(source, random));
    changed.add(disturb(source, random));
    scaler.draw(source, scaler.sourceChanged(source, changed), frame);
    // Often enough to see which change was the wrong one.
    if (round % 8 == 7) {
      ASSERT_TRUE(areEqual(frame, scaledAtOnce(source, frameSize))) << round;
    }
  }
}

bool haveEqualRows(const PixelImage& a, const PixelImage& b, RowRange rows) {
  return std::memcmp(a.at(0, rows.first), b.at(0, rows.first),
                     a.offsetBytes(0, rows.end - rows.first)) == 0;
}

// However much of a frame is drawn: what lies outside of the altered rows keeps its bytes.
TEST_P(PixelScalerTest, RowsThatAreNotAlteredStayTheSame) {
  const auto [sourceSize, frameSize] = GetParam();
  PixelImage source = noise(sourceSize);
  PixelScaler scaler(sourceSize, frameSize);
  static_cast<void>(scaler.sourceChanged(source, RowSet({0, sourceSize.height})));
  PixelImage before = scaledAtOnce(source, frameSize);
  std::mt19937 random(13);  // NOLINT: the same numbers in every run
  for (int round = 0; round < 10; ++round) {
    RowSet changed(disturb(source, random));
    changed.add(disturb(source, random));
    const RowSet altered = scaler.sourceChanged(source, changed);
    const PixelImage after = scaledAtOnce(source, frameSize);
    int kept = 0;
    for (const RowRange& range : altered.ranges()) {
      ASSERT_LE(kept, range.first);
      EXPECT_TRUE(haveEqualRows(before, after, {kept, range.first})) << round;
      kept = range.end;
    }
    ASSERT_LE(kept, frameSize.height);
    EXPECT_TRUE(haveEqualRows(before, after, {kept, frameSize.height})) << round;
    before = after;
  }
}

INSTANTIATE_TEST_SUITE_P(
    Sizes, PixelScalerTest,
    testing::Values(Scaling{{320, 200}, {320, 200}}, Scaling{{320, 200}, {240, 150}},
                    Scaling{{320, 200}, {160, 100}}, Scaling{{321, 201}, {161, 101}},
                    Scaling{{321, 201}, {150, 93}}, Scaling{{640, 400}, {213, 133}},
                    Scaling{{640, 400}, {90, 56}}, Scaling{{640, 400}, {1, 1}},
                    Scaling{{320, 200}, {320, 150}}, Scaling{{320, 200}, {400, 250}},
                    Scaling{{320, 200}, {400, 100}}, Scaling{{1, 1}, {3, 2}},
                    Scaling{{2, 2}, {90, 90}}, Scaling{{7, 5}, {64, 48}},
                    Scaling{{200, 100}, {201, 101}}, Scaling{{300, 200}, {200, 300}},
                    Scaling{{2560, 1600}, {1920, 1200}}, Scaling{{1366, 768}, {1000, 562}},
                    Scaling{{1001, 903}, {201, 177}}, Scaling{{3, 300}, {2, 100}}));

TEST(PixelScaler, AltersFewRowsMoreThanTheChangeCovers) {
  const PixelImage source = makeTestImage({2560, 1600});
  PixelScaler scaler(source.size, {1920, 1200});
  RowSet changed({400, 420});
  changed.add({1600 - 8, 1600});
  const RowSet altered = scaler.sourceChanged(source, changed);
  EXPECT_EQ(altered.ranges(), (std::vector<RowRange>{{299, 316}, {1193, 1200}}));
}

TEST(PixelScaler, ACopyHasItsVeryRows) {
  const PixelImage source = makeTestImage({64, 64});
  PixelScaler scaler(source.size, source.size);
  const RowSet altered = scaler.sourceChanged(source, RowSet({30, 31}));
  EXPECT_EQ(altered.ranges(), (std::vector<RowRange>{{30, 31}}));
}

TEST(PixelScaler, KeepsThinLinesWhenItShrinksALot) {
  PixelImage source = makeTestImage({900, 30}, 0xffffff);
  for (int x = 0; x < 900; x += 3) {
    for (int y = 0; y < 30; ++y) setPixel(source, x + 1, y, 0);
  }
  const PixelImage frame = scaledAtOnce(source, {300, 10});
  // A third of the pixels is black, and no place of the frame lost it.
  for (int x = 2; x < 298; ++x) EXPECT_LT(pixelOf(frame, x, 5) & 0xff, 0xe0U) << x;
}

}  // namespace
}  // namespace quorvin
