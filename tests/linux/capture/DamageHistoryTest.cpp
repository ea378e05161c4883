#include <gtest/gtest.h>

#include "platform/linux/frame/DamageHistory.h"

namespace quorvin {
namespace {

class DamageHistoryTest : public ::testing::Test {
 protected:
  DamageHistoryTest() { tracker.restart({200, 10}); }

  DamageTracker tracker;
};

TEST_F(DamageHistoryTest, NothingHasChangedSinceTheFrameItself) {
  const auto frame = tracker.nextFrame();
  EXPECT_FALSE(frame->changedSince(*frame, {0, 10}));
}

TEST_F(DamageHistoryTest, TellsTheChangedRowsAlone) {
  const auto before = tracker.nextFrame();
  tracker.markDamaged(RowRange{3, 5});
  const auto after = tracker.nextFrame();
  EXPECT_FALSE(after->changedSince(*before, {0, 3}));
  EXPECT_TRUE(after->changedSince(*before, {3, 4}));
  EXPECT_TRUE(after->changedSince(*before, {4, 5}));
  EXPECT_FALSE(after->changedSince(*before, {5, 10}));
}

TEST_F(DamageHistoryTest, RemembersWhatFramesInBetweenHaveChanged) {
  const auto before = tracker.nextFrame();
  tracker.markDamaged(RowRange{3, 4});
  const auto between = tracker.nextFrame();
  tracker.markDamaged(RowRange{7, 8});
  const auto after = tracker.nextFrame();
  EXPECT_TRUE(after->changedSince(*before, {3, 4}));
  EXPECT_TRUE(after->changedSince(*before, {7, 8}));
  EXPECT_FALSE(after->changedSince(*between, {3, 4}));
  EXPECT_TRUE(after->changedSince(*between, {7, 8}));
}

TEST_F(DamageHistoryTest, TakesEveryRowForChangedSinceALaterFrame) {
  const auto before = tracker.nextFrame();
  const auto after = tracker.nextFrame();
  EXPECT_TRUE(before->changedSince(*after, {0, 1}));
  EXPECT_FALSE(after->changedSince(*before, {0, 10}));
}

TEST_F(DamageHistoryTest, TakesEveryRowForChangedSinceAnotherSeries) {
  const auto before = tracker.nextFrame();
  tracker.restart({200, 10});
  const auto after = tracker.nextFrame();
  EXPECT_TRUE(after->changedSince(*before, {0, 1}));
  EXPECT_TRUE(after->changedSince(*before, {9, 10}));
}

TEST_F(DamageHistoryTest, LeavesOutChangesBesideTheFrame) {
  const auto before = tracker.nextFrame();
  tracker.markDamaged(RowRange{-5, 1});
  tracker.markDamaged(RowRange{9, 30});
  tracker.markDamaged(RowRange{40, 50});
  tracker.markDamaged(RowRange{6, 6});
  const auto after = tracker.nextFrame();
  EXPECT_TRUE(after->changedSince(*before, {0, 1}));
  EXPECT_FALSE(after->changedSince(*before, {1, 9}));
  EXPECT_TRUE(after->changedSince(*before, {9, 10}));
}

constexpr RowRange allRows{0, 10};

// The tiles, of those that are looked at, that may look different.
std::vector<ColumnRange> changedTiles(const DamageHistory& before, const DamageHistory& after,
                                      RowRange rows) {
  std::vector<ColumnRange> changed;
  for (const ColumnRange tile : {ColumnRange{0, 16}, {16, 32}, {32, 48}, {192, 200}}) {
    if (after.changedSince(before, rows, tile)) changed.push_back(tile);
  }
  return changed;
}

TEST_F(DamageHistoryTest, TellsTheTilesOfAChange) {
  const auto before = tracker.nextFrame();
  tracker.markDamaged({15, 3, 2, 1});
  const auto after = tracker.nextFrame();
  EXPECT_EQ(changedTiles(*before, *after, allRows), (std::vector<ColumnRange>{{0, 16}, {16, 32}}));
  EXPECT_TRUE(changedTiles(*before, *after, {4, 10}).empty());
  EXPECT_TRUE(after->changedSince(*before, {3, 4}));
}

TEST_F(DamageHistoryTest, TellsTheLastTileThoughItIsNarrower) {
  const auto before = tracker.nextFrame();
  tracker.markDamaged({199, 0, 100, 100});
  const auto after = tracker.nextFrame();
  EXPECT_EQ(changedTiles(*before, *after, allRows), (std::vector<ColumnRange>{{192, 200}}));
}

TEST_F(DamageHistoryTest, ChangedRowsHaveChangedInAllTiles) {
  const auto before = tracker.nextFrame();
  tracker.markDamaged(RowRange{3, 4});
  const auto after = tracker.nextFrame();
  EXPECT_EQ(changedTiles(*before, *after, allRows).size(), 4U);
}

TEST_F(DamageHistoryTest, TilesOfFramesThatCannotBeComparedHaveChanged) {
  const auto before = tracker.nextFrame();
  const auto after = tracker.nextFrame();
  EXPECT_EQ(changedTiles(*after, *before, allRows).size(), 4U);
  tracker.restart({200, 10});
  EXPECT_EQ(changedTiles(*before, *tracker.nextFrame(), allRows).size(), 4U);
}

TEST(DamageHistoryOfATallFrame, TellsTilesOfDifferentRowsApart) {
  DamageTracker tracker;
  tracker.restart({130, 40});
  const auto before = tracker.nextFrame();
  tracker.markDamaged({0, 0, 1, 1});
  tracker.markDamaged({128, 39, 1, 1});
  const auto after = tracker.nextFrame();
  EXPECT_TRUE(after->changedSince(*before, {0, 16}, {0, 64}));
  EXPECT_FALSE(after->changedSince(*before, {0, 16}, {64, 130}));
  EXPECT_FALSE(after->changedSince(*before, {16, 40}, {0, 128}));
  EXPECT_TRUE(after->changedSince(*before, {16, 40}, {128, 130}));
}

}  // namespace
}  // namespace quorvin
