#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "bench/Desktop.h"
#include "platform/linux/video/H264Library.h"
#include "platform/linux/video/RateControl.h"
#include "tests/linux/video/TestPictures.h"

namespace quorvin {
namespace {

constexpr PixelSize size{320, 240};

YuvPicture desktop() {
  YuvPicture picture(size);
  picture.convert(*makePicture(size, desktopPicture(size.width, size.height, 1)));
  return picture;
}

std::vector<std::uint8_t> encode(H264Library& library, int quantiser) {
  const auto units = library.encode(desktop(), quantiser);
  return {units.begin(), units.end()};
}

TEST(H264Library, EveryStepOfTheQuantiserCounts) {
  H264Library library(size, 30);
  auto before = encode(library, H264Library::finestQuantiser).size();
  for (int quantiser = H264Library::finestQuantiser + 1;
       quantiser <= H264Library::coarsestQuantiser; ++quantiser) {
    const auto now = encode(library, quantiser).size();
    EXPECT_LT(now, before) << "at " << quantiser;
    before = now;
  }
}

TEST(H264Library, TakesEveryQuantiserThatTheBudgetMayChoose) {
  EXPECT_LE(H264Library::finestQuantiser, RateControl::finest);
  EXPECT_LE(RateControl::coarsest, H264Library::coarsestQuantiser);
}

TEST(H264Library, TakesQuantisersBeyondItsOwnForTheNearest) {
  const auto firstAt = [](int quantiser) {
    H264Library library(size, 30);
    return encode(library, quantiser);
  };
  EXPECT_EQ(firstAt(-1000), firstAt(H264Library::finestQuantiser));
  EXPECT_EQ(firstAt(1000), firstAt(H264Library::coarsestQuantiser));
}

TEST(H264Library, KnowsNothingOfThePicturesBefore) {
  H264Library library(size, 30);
  const auto first = encode(library, 30);
  // The next one differs, as key frames that follow each other must be told apart.
  encode(library, 51);
  EXPECT_EQ(encode(library, 30), first);
}

}  // namespace
}  // namespace quorvin
