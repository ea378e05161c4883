#include <gtest/gtest.h>

#include <array>
#include <random>

#include "platform/linux/frame/RowSet.h"

namespace quorvin {
namespace {

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
