#include <gtest/gtest.h>

#include "platform/linux/capture/CursorOverlay.h"
#include "tests/linux/capture/TestImages.h"

namespace quorvin {
namespace {

CursorImage squareCursor(int side, std::uint32_t pixel, int hotSpot = 0) {
  const auto count = static_cast<std::size_t>(side) * static_cast<std::size_t>(side);
  return {{side, side}, hotSpot, hotSpot, std::vector<std::uint32_t>(count, pixel)};
}

TEST(CursorOverlay, DrawsOpaquePixelsAsTheyAre) {
  PixelImage frame = makeTestImage({10, 10}, 0x112233);
  blendCursor(squareCursor(2, 0xffabcdef), {4, 4, 2, 2}, frame);
  EXPECT_EQ(pixelOf(frame, 4, 4), 0xabcdefU);
  EXPECT_EQ(pixelOf(frame, 5, 5), 0xabcdefU);
  EXPECT_EQ(pixelOf(frame, 3, 4), 0x112233U);
  EXPECT_EQ(pixelOf(frame, 6, 5), 0x112233U);
}

TEST(CursorOverlay, LeavesTransparentPixelsAlone) {
  PixelImage frame = makeTestImage({4, 4}, 0x112233);
  blendCursor(squareCursor(4, 0), {0, 0, 4, 4}, frame);
  EXPECT_EQ(pixelOf(frame, 2, 2), 0x112233U);
}

TEST(CursorOverlay, MixesHalfTransparentPixels) {
  PixelImage frame = makeTestImage({1, 1}, 0xc86400);
  // Half of 0x64c800, its colours already halved.
  blendCursor(squareCursor(1, 0x80326400), {0, 0, 1, 1}, frame);
  EXPECT_NEAR(static_cast<int>(pixelOf(frame, 0, 0) >> 16), 0x32 + 0x64, 1);
  EXPECT_NEAR(static_cast<int>(pixelOf(frame, 0, 0) >> 8 & 0xff), 0x64 + 0x32, 1);
}

TEST(CursorOverlay, IsClippedAtEveryEdge) {
  for (const PixelRect& area : {PixelRect{-3, -3, 4, 4}, PixelRect{9, 9, 4, 4},
                                PixelRect{-3, 9, 4, 4}, PixelRect{9, -3, 4, 4}}) {
    PixelImage frame = makeTestImage({10, 10}, 0x112233);
    blendCursor(squareCursor(4, 0xffffffff), area, frame);
    const int x = area.x < 0 ? 0 : 9;
    const int y = area.y < 0 ? 0 : 9;
    EXPECT_EQ(pixelOf(frame, x, y), 0xffffffU);
    EXPECT_EQ(pixelOf(frame, 5, 5), 0x112233U);
  }
}

TEST(CursorOverlay, OutsideOfTheFrameDrawsNothing) {
  PixelImage frame = makeTestImage({10, 10}, 0x112233);
  blendCursor(squareCursor(4, 0xffffffff), {10, 0, 4, 4}, frame);
  blendCursor(squareCursor(4, 0xffffffff), {-400, -400, 4, 4}, frame);
  EXPECT_EQ(pixelOf(frame, 9, 0), 0x112233U);
}

TEST(CursorOverlay, ShrinksWithTheFrame) {
  const CursorImage half = scaledCursor(squareCursor(16, 0xff00ff00, 8), {640, 480}, {320, 240});
  EXPECT_EQ(half.size, (PixelSize{8, 8}));
  EXPECT_EQ(half.hotSpotX, 4);
  EXPECT_EQ(half.pixels.at(0), 0xff00ff00U);
}

TEST(CursorOverlay, NeverShrinksToNothing) {
  const CursorImage tiny = scaledCursor(squareCursor(4, 0xff00ff00), {4000, 4000}, {40, 40});
  EXPECT_EQ(tiny.size, (PixelSize{1, 1}));
}

TEST(CursorPlacer, PutsTheHotSpotWhereThePointerIs) {
  CursorPlacer placer({640, 480}, {640, 480});
  const auto cursor = std::make_shared<const CursorImage>(squareCursor(10, 0xffffffff, 3));
  EXPECT_EQ(placer.place(cursor, 100, 50)->area, (PixelRect{97, 47, 10, 10}));
}

TEST(CursorPlacer, ScalesThePlace) {
  CursorPlacer placer({640, 480}, {320, 240});
  const auto cursor = std::make_shared<const CursorImage>(squareCursor(10, 0xffffffff));
  EXPECT_EQ(placer.place(cursor, 101, 51)->area, (PixelRect{50, 25, 5, 5}));
}

TEST(CursorPlacer, SeesNothingOfACursorOnAnotherDisplay) {
  CursorPlacer placer({640, 480}, {640, 480});
  const auto cursor = std::make_shared<const CursorImage>(squareCursor(10, 0xffffffff));
  EXPECT_FALSE(placer.place(cursor, 640, 100));
  EXPECT_FALSE(placer.place(cursor, -10, 100));
  EXPECT_TRUE(placer.place(cursor, -9, 100));
  EXPECT_FALSE(placer.place(nullptr, 100, 100));
}

TEST(CursorPlacer, GivesEqualPlacementsOnlyForTheSameLook) {
  CursorPlacer placer({640, 480}, {320, 240});
  const auto arrow = std::make_shared<const CursorImage>(squareCursor(10, 0xffffffff));
  const auto beam = std::make_shared<const CursorImage>(squareCursor(10, 0xff000000));
  const auto first = placer.place(arrow, 20, 20);
  EXPECT_EQ(placer.place(arrow, 20, 20), first);
  EXPECT_NE(placer.place(arrow, 24, 20), first);
  EXPECT_NE(placer.place(beam, 20, 20), first);
}

TEST(CursorPlacer, AnEmptyCursorIsNowhere) {
  CursorPlacer placer({640, 480}, {320, 240});
  EXPECT_FALSE(placer.place(std::make_shared<const CursorImage>(), 20, 20));
}

constexpr PixelSize size{8, 6};

TEST(SaveUnder, PutsBackWhatItSaved) {
  PixelImage frame = makeTestImage(size, 0x111111);
  setPixel(frame, 3, 2, 0x222222);
  setPixel(frame, 4, 3, 0x333333);
  SaveUnder covered;
  covered.save(frame, {3, 2, 2, 2});
  for (int x = 2; x < 6; ++x) {
    for (int y = 1; y < 5; ++y) setPixel(frame, x, y, 0xffffff);
  }
  covered.restore(frame);
  EXPECT_EQ(pixelOf(frame, 3, 2), 0x222222U);
  EXPECT_EQ(pixelOf(frame, 4, 2), 0x111111U);
  EXPECT_EQ(pixelOf(frame, 4, 3), 0x333333U);
  EXPECT_EQ(pixelOf(frame, 5, 3), 0xffffffU);
  EXPECT_EQ(pixelOf(frame, 2, 2), 0xffffffU);
  EXPECT_EQ(pixelOf(frame, 3, 4), 0xffffffU);
}

TEST(SaveUnder, PutsItBackOnce) {
  PixelImage frame = makeTestImage(size, 0x111111);
  SaveUnder covered;
  covered.save(frame, wholeOf(size));
  covered.restore(frame);
  setPixel(frame, 1, 1, 0x222222);
  covered.restore(frame);
  EXPECT_EQ(pixelOf(frame, 1, 1), 0x222222U);
}

TEST(SaveUnder, HasNothingToPutBackAtFirst) {
  PixelImage frame = makeTestImage(size, 0x111111);
  SaveUnder covered;
  covered.restore(frame);
  covered.save(frame, {});
  covered.restore(frame);
  EXPECT_EQ(pixelOf(frame, 0, 0), 0x111111U);
}

}  // namespace
}  // namespace quorvin
