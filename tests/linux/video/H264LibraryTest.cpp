#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "bench/Desktop.h"
#include "platform/linux/video/H264Library.h"
#include "platform/linux/video/RateControl.h"
#include "tests/linux/video/TestFrames.h"

namespace quorvin {
namespace {

constexpr PixelSize size{320, 240};

YuvFrame desktop() {
  YuvFrame frame(size);
  frame.convert(*makeFrame(size, desktopImage(size.width, size.height, 1)));
  return frame;
}

std::vector<std::uint8_t> encode(H264Library& library, int qp) {
  const auto units = library.encode(desktop(), qp);
  return {units.begin(), units.end()};
}

TEST(H264Library, EveryStepOfTheQpCounts) {
  H264Library library(size, 30);
  auto before = encode(library, H264Library::qpMin).size();
  for (int qp = H264Library::qpMin + 1; qp <= H264Library::qpMax; ++qp) {
    const auto now = encode(library, qp).size();
    EXPECT_LT(now, before) << "at " << qp;
    before = now;
  }
}

TEST(H264Library, TakesEveryQpThatTheBudgetMayChoose) {
  EXPECT_LE(H264Library::qpMin, RateControl::qpMin);
  EXPECT_LE(RateControl::qpMax, H264Library::qpMax);
}

TEST(H264Library, TakesQpsBeyondItsOwnForTheNearest) {
  const auto firstAt = [](int qp) {
    H264Library library(size, 30);
    return encode(library, qp);
  };
  EXPECT_EQ(firstAt(-1000), firstAt(H264Library::qpMin));
  EXPECT_EQ(firstAt(1000), firstAt(H264Library::qpMax));
}

TEST(H264Library, KnowsNothingOfTheFramesBefore) {
  H264Library library(size, 30);
  const auto first = encode(library, 30);
  // The next one differs, as key frames that follow each other must be told apart.
  encode(library, 51);
  EXPECT_EQ(encode(library, 30), first);
}

}  // namespace
}  // namespace quorvin
