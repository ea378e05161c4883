#include <gtest/gtest.h>

#include <cstdlib>
#include <random>

#include "platform/linux/input/ScrollNotches.h"

namespace quorvin {
namespace {

TEST(ScrollNotches, LoseAndAddNothing) {
  std::mt19937 random(4711);
  std::uniform_int_distribution<std::int32_t> distance(-10'000, 10'000);
  ScrollNotches notches;
  std::int64_t in = 0;
  std::int64_t out = 0;
  for (int event = 0; event < 200'000; ++event) {
    const std::int32_t pixels = distance(random) / (event % 3 == 0 ? 1 : 200);
    in += pixels;
    out += std::int64_t{notches.add(pixels)} * pixelsPerNotch;
    ASSERT_LT(std::abs(in - out), pixelsPerNotch);
  }
}

TEST(ScrollNotches, AreFewForAnyDistance) {
  ScrollNotches notches;
  EXPECT_EQ(notches.add(2'147'483'647), 100);
  EXPECT_EQ(notches.add(-2'147'483'647 - 1), -100);
}

TEST(ScrollNotches, GoBackWithTheSameDistance) {
  ScrollNotches notches;
  EXPECT_EQ(notches.add(99), 0);
  EXPECT_EQ(notches.add(1), 1);
  EXPECT_EQ(notches.add(-99), 0);
  EXPECT_EQ(notches.add(-1), -1);
}

}  // namespace
}  // namespace quorvin
