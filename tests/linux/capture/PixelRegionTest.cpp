#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "platform/linux/frame/PixelRegion.h"

namespace quorvin {
namespace {

TEST(PixelRect, HasNoCommonPartWithANeighbour) {
  EXPECT_TRUE(intersectionOf({0, 0, 10, 10}, {10, 0, 10, 10}).isEmpty());
  EXPECT_EQ(intersectionOf({0, 0, 10, 10}, {4, 6, 10, 10}), (PixelRect{4, 6, 6, 4}));
}

TEST(PixelRect, EmptyOnesAddNothingToBounds) {
  EXPECT_EQ(boundsOf({}, {4, 6, 10, 10}), (PixelRect{4, 6, 10, 10}));
  EXPECT_EQ(boundsOf({4, 6, 10, 10}, {}), (PixelRect{4, 6, 10, 10}));
  EXPECT_EQ(boundsOf({0, 0, 1, 1}, {9, 9, 1, 1}), (PixelRect{0, 0, 10, 10}));
}

TEST(PixelRegion, IgnoresEmptyRectangles) {
  PixelRegion region;
  region.add(PixelRect{5, 5, 0, 10});
  EXPECT_TRUE(region.isEmpty());
}

TEST(PixelRegion, JoinsNearNeighbours) {
  PixelRegion region;
  region.add(PixelRect{0, 0, 20, 10});
  region.add(PixelRect{0, 12, 20, 10});
  EXPECT_EQ(region.rects(), (std::vector{PixelRect{0, 0, 20, 22}}));
}

TEST(PixelRegion, KeepsDistantRectanglesApart) {
  PixelRegion region;
  region.add(PixelRect{0, 0, 20, 20});
  region.add(PixelRect{1800, 1000, 20, 20});
  EXPECT_EQ(region.rects().size(), 2U);
}

TEST(PixelRegion, JoinsARectangleThatBridgesTwoOthers) {
  PixelRegion region;
  region.add(PixelRect{0, 0, 500, 500});
  region.add(PixelRect{1000, 0, 500, 500});
  ASSERT_EQ(region.rects().size(), 2U);
  region.add(PixelRect{500, 0, 500, 500});
  EXPECT_EQ(region.rects(), (std::vector{PixelRect{0, 0, 1500, 500}}));
}

bool covers(const PixelRegion& region, int x, int y) {
  return std::ranges::any_of(region.rects(), [=](const PixelRect& rect) {
    return x >= rect.x && x < rect.right() && y >= rect.y && y < rect.bottom();
  });
}

TEST(PixelRegion, StaysBoundedAndCoversEverythingThatWasAdded) {
  std::mt19937 random(20'240'501);  // NOLINT: the same numbers in every run
  std::uniform_int_distribution<int> place(0, 4000);
  std::uniform_int_distribution<int> length(1, 300);
  for (int round = 0; round < 50; ++round) {
    PixelRegion region;
    std::vector<PixelRect> added;
    for (int i = 0; i < 60; ++i) {
      added.push_back({place(random), place(random), length(random), length(random)});
      region.add(added.back());
      ASSERT_LE(region.rects().size(), PixelRegion::maximumRects);
    }
    for (const PixelRect& rect : added) {
      EXPECT_TRUE(covers(region, rect.x, rect.y));
      EXPECT_TRUE(covers(region, rect.right() - 1, rect.bottom() - 1));
    }
  }
}

}  // namespace
}  // namespace quorvin
