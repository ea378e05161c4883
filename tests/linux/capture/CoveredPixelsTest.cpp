#include <gtest/gtest.h>

#include "platform/linux/capture/CoveredPixels.h"
#include "tests/linux/capture/TestImages.h"

namespace quorvin {
namespace {

constexpr PixelSize size{8, 6};

TEST(CoveredPixels, PutsBackWhatItSaved) {
  PixelImage picture = makeTestImage(size, 0x111111);
  setPixel(picture, 3, 2, 0x222222);
  setPixel(picture, 4, 3, 0x333333);
  CoveredPixels covered;
  covered.save(picture, {3, 2, 2, 2});
  for (int x = 2; x < 6; ++x) {
    for (int y = 1; y < 5; ++y) setPixel(picture, x, y, 0xffffff);
  }
  covered.putBack(picture);
  EXPECT_EQ(pixelOf(picture, 3, 2), 0x222222U);
  EXPECT_EQ(pixelOf(picture, 4, 2), 0x111111U);
  EXPECT_EQ(pixelOf(picture, 4, 3), 0x333333U);
  EXPECT_EQ(pixelOf(picture, 5, 3), 0xffffffU);
  EXPECT_EQ(pixelOf(picture, 2, 2), 0xffffffU);
  EXPECT_EQ(pixelOf(picture, 3, 4), 0xffffffU);
}

TEST(CoveredPixels, PutsItBackOnce) {
  PixelImage picture = makeTestImage(size, 0x111111);
  CoveredPixels covered;
  covered.save(picture, wholeOf(size));
  covered.putBack(picture);
  setPixel(picture, 1, 1, 0x222222);
  covered.putBack(picture);
  EXPECT_EQ(pixelOf(picture, 1, 1), 0x222222U);
}

TEST(CoveredPixels, HasNothingToPutBackAtFirst) {
  PixelImage picture = makeTestImage(size, 0x111111);
  CoveredPixels covered;
  covered.putBack(picture);
  covered.save(picture, {});
  covered.putBack(picture);
  EXPECT_EQ(pixelOf(picture, 0, 0), 0x111111U);
}

}  // namespace
}  // namespace quorvin
