#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

#include "Runner/PictureSettings.h"

namespace quorvin {
namespace {

StreamConfiguration fit(std::int64_t maxWidth, std::int64_t maxHeight, std::int64_t displayWidth,
                        std::int64_t displayHeight) {
  PictureSettings settings;
  settings.maxWidth = maxWidth;
  settings.maxHeight = maxHeight;
  return makeStreamConfiguration(settings, displayWidth, displayHeight);
}

TEST(StreamGeometry, ScalesDownToFitBothLimits) {
  const auto exact = fit(1920, 1200, 2560, 1600);
  EXPECT_EQ(exact.width, 1920);
  EXPECT_EQ(exact.height, 1200);
  const auto wide = fit(1920, 1200, 5120, 2880);
  EXPECT_EQ(wide.width, 1920);
  EXPECT_EQ(wide.height, 1080);
  const auto tall = fit(1920, 1200, 1080, 1920);
  EXPECT_EQ(tall.width, 675);
  EXPECT_EQ(tall.height, 1200);
}

TEST(StreamGeometry, NeverScalesUp) {
  const auto small = fit(1920, 1200, 1440, 900);
  EXPECT_EQ(small.width, 1440);
  EXPECT_EQ(small.height, 900);
}

TEST(StreamGeometry, TruncatesWithoutRoundingToEvenSizes) {
  const auto odd = fit(640, 480, 1366, 768);
  EXPECT_EQ(odd.width, 640);
  EXPECT_EQ(odd.height, 359);  // 640 / 1366 * 768 = 359.8
}

TEST(StreamGeometry, RaisesADimensionThatTruncatesToNothing) {
  const auto sliver = fit(640, 480, 100'000, 1);
  EXPECT_EQ(sliver.width, 640);
  EXPECT_EQ(sliver.height, 1);
}

TEST(StreamGeometry, PassesTheOtherSettingsOn) {
  PictureSettings settings;
  settings.fps = 24;
  settings.queueDepth = 5;
  settings.showCursor = false;
  const auto configuration = makeStreamConfiguration(settings, 800, 600);
  EXPECT_EQ(configuration.minimumFrameInterval, (MediaTime{1, 24}));
  EXPECT_EQ(configuration.queueDepth, 5);
  EXPECT_FALSE(configuration.showsCursor);
  EXPECT_EQ(configuration.pixelFormat, 0x42475241U);
  settings.showCursor = true;
  EXPECT_TRUE(makeStreamConfiguration(settings, 800, 600).showsCursor);
}

TEST(StreamGeometryDeathTest, StopsTheProcessOverAFrameRateOutOf32Bits) {
  PictureSettings settings;
  settings.fps = std::int64_t{1} << 31;
  EXPECT_DEATH((void)makeStreamConfiguration(settings, 800, 600), "frame rate");
  settings.fps = -(std::int64_t{1} << 31) - 1;
  EXPECT_DEATH((void)makeStreamConfiguration(settings, 800, 600), "frame rate");
}

TEST(StreamGeometryDeathTest, StopsTheProcessOverAFrameSizeOutOf64Bits) {
  // The display's size itself rounds up to 2^63 as a double.
  constexpr auto largest = std::numeric_limits<std::int64_t>::max();
  EXPECT_DEATH((void)fit(largest, largest, largest, 1), "picture size");
}

}  // namespace
}  // namespace quorvin
