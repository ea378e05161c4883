#include <gtest/gtest.h>

#include <algorithm>
#include <array>
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

std::vector<RowRange> setOf(const std::vector<RowRange>& added) {
  RowSet rows;
  for (const RowRange& range : added) rows.add(range);
  return rows.ranges();
}

TEST(RowSet, KeepsWhatIsApartInOrder) {
  EXPECT_EQ(setOf({{5, 7}, {1, 2}, {9, 10}}), (std::vector<RowRange>{{1, 2}, {5, 7}, {9, 10}}));
}

TEST(RowSet, JoinsWhatTouches) {
  EXPECT_EQ(setOf({{1, 2}, {3, 4}, {2, 3}}), (std::vector<RowRange>{{1, 4}}));
}

TEST(RowSet, JoinsWhatOverlaps) {
  EXPECT_EQ(setOf({{1, 5}, {8, 9}, {20, 30}, {4, 9}}), (std::vector<RowRange>{{1, 9}, {20, 30}}));
}

TEST(RowSet, SwallowsWhatLiesWithin) {
  EXPECT_EQ(setOf({{3, 4}, {6, 7}, {1, 9}, {2, 5}}), (std::vector<RowRange>{{1, 9}}));
}

TEST(RowSet, LeavesOutEmptyRanges) {
  EXPECT_TRUE(setOf({{3, 3}, {5, 4}}).empty());
}

TEST(RowSet, TakesInAnotherSet) {
  RowSet rows({1, 3});
  RowSet others({3, 5});
  others.add({7, 8});
  rows.add(others);
  EXPECT_EQ(rows.ranges(), (std::vector<RowRange>{{1, 5}, {7, 8}}));
}

TEST(RowSet, HoldsExactlyWhatWasAdded) {
  std::mt19937 random(5);  // NOLINT: the same numbers in every run
  for (int round = 0; round < 500; ++round) {
    std::array<bool, 64> expected{};
    RowSet rows;
    for (int i = 0; i < round % 12; ++i) {
      const int first = static_cast<int>(random() % 60);
      const int end = first + static_cast<int>(random() % 5);
      rows.add({first, end});
      for (int row = first; row < end; ++row) expected.at(static_cast<std::size_t>(row)) = true;
    }
    std::array<bool, 64> actual{};
    int reached = -1;
    for (const RowRange& range : rows.ranges()) {
      ASSERT_GT(range.first, reached);
      ASSERT_LT(range.first, range.end);
      reached = range.end;
      for (int row = range.first; row < range.end; ++row) {
        actual.at(static_cast<std::size_t>(row)) = true;
      }
    }
    ASSERT_EQ(actual, expected);
  }
}

}  // namespace
}  // namespace quorvin
