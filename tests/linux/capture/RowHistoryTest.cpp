#include <gtest/gtest.h>

#include "platform/linux/frame/RowHistory.h"

namespace quorvin {
namespace {

class RowHistoryTest : public ::testing::Test {
 protected:
  RowHistoryTest() { tracker.restart({200, 10}); }

  RowTracker tracker;
};

TEST_F(RowHistoryTest, NothingHasChangedSinceThePictureItself) {
  const auto picture = tracker.nextPicture();
  EXPECT_FALSE(picture->changedSince(*picture, {0, 10}));
}

TEST_F(RowHistoryTest, TellsTheChangedRowsAlone) {
  const auto before = tracker.nextPicture();
  tracker.markChanged(RowRange{3, 5});
  const auto after = tracker.nextPicture();
  EXPECT_FALSE(after->changedSince(*before, {0, 3}));
  EXPECT_TRUE(after->changedSince(*before, {3, 4}));
  EXPECT_TRUE(after->changedSince(*before, {4, 5}));
  EXPECT_FALSE(after->changedSince(*before, {5, 10}));
}

TEST_F(RowHistoryTest, RemembersWhatPicturesInBetweenHaveChanged) {
  const auto before = tracker.nextPicture();
  tracker.markChanged(RowRange{3, 4});
  const auto between = tracker.nextPicture();
  tracker.markChanged(RowRange{7, 8});
  const auto after = tracker.nextPicture();
  EXPECT_TRUE(after->changedSince(*before, {3, 4}));
  EXPECT_TRUE(after->changedSince(*before, {7, 8}));
  EXPECT_FALSE(after->changedSince(*between, {3, 4}));
  EXPECT_TRUE(after->changedSince(*between, {7, 8}));
}

TEST_F(RowHistoryTest, TakesEveryRowForChangedSinceALaterPicture) {
  const auto before = tracker.nextPicture();
  const auto after = tracker.nextPicture();
  EXPECT_TRUE(before->changedSince(*after, {0, 1}));
  EXPECT_FALSE(after->changedSince(*before, {0, 10}));
}

TEST_F(RowHistoryTest, TakesEveryRowForChangedSinceAnotherSeries) {
  const auto before = tracker.nextPicture();
  tracker.restart({200, 10});
  const auto after = tracker.nextPicture();
  EXPECT_TRUE(after->changedSince(*before, {0, 1}));
  EXPECT_TRUE(after->changedSince(*before, {9, 10}));
}

TEST_F(RowHistoryTest, LeavesOutChangesBesideThePicture) {
  const auto before = tracker.nextPicture();
  tracker.markChanged(RowRange{-5, 1});
  tracker.markChanged(RowRange{9, 30});
  tracker.markChanged(RowRange{40, 50});
  tracker.markChanged(RowRange{6, 6});
  const auto after = tracker.nextPicture();
  EXPECT_TRUE(after->changedSince(*before, {0, 1}));
  EXPECT_FALSE(after->changedSince(*before, {1, 9}));
  EXPECT_TRUE(after->changedSince(*before, {9, 10}));
}

constexpr RowRange allRows{0, 10};

// The tiles, of those that are looked at, that may look different.
std::vector<ColumnRange> changedTiles(const RowHistory& before, const RowHistory& after,
                                      RowRange rows) {
  std::vector<ColumnRange> changed;
  for (const ColumnRange tile : {ColumnRange{0, 16}, {16, 32}, {32, 48}, {192, 200}}) {
    if (after.changedSince(before, rows, tile)) changed.push_back(tile);
  }
  return changed;
}

TEST_F(RowHistoryTest, TellsTheTilesOfAChange) {
  const auto before = tracker.nextPicture();
  tracker.markChanged({15, 3, 2, 1});
  const auto after = tracker.nextPicture();
  EXPECT_EQ(changedTiles(*before, *after, allRows), (std::vector<ColumnRange>{{0, 16}, {16, 32}}));
  EXPECT_TRUE(changedTiles(*before, *after, {4, 10}).empty());
  EXPECT_TRUE(after->changedSince(*before, {3, 4}));
}

TEST_F(RowHistoryTest, TellsTheLastTileThoughItIsNarrower) {
  const auto before = tracker.nextPicture();
  tracker.markChanged({199, 0, 100, 100});
  const auto after = tracker.nextPicture();
  EXPECT_EQ(changedTiles(*before, *after, allRows), (std::vector<ColumnRange>{{192, 200}}));
}

TEST_F(RowHistoryTest, ChangedRowsHaveChangedInAllTiles) {
  const auto before = tracker.nextPicture();
  tracker.markChanged(RowRange{3, 4});
  const auto after = tracker.nextPicture();
  EXPECT_EQ(changedTiles(*before, *after, allRows).size(), 4U);
}

TEST_F(RowHistoryTest, TilesOfPicturesThatCannotBeComparedHaveChanged) {
  const auto before = tracker.nextPicture();
  const auto after = tracker.nextPicture();
  EXPECT_EQ(changedTiles(*after, *before, allRows).size(), 4U);
  tracker.restart({200, 10});
  EXPECT_EQ(changedTiles(*before, *tracker.nextPicture(), allRows).size(), 4U);
}

TEST(RowHistoryOfATallPicture, TellsTilesOfDifferentRowsApart) {
  RowTracker tracker;
  tracker.restart({130, 40});
  const auto before = tracker.nextPicture();
  tracker.markChanged({0, 0, 1, 1});
  tracker.markChanged({128, 39, 1, 1});
  const auto after = tracker.nextPicture();
  EXPECT_TRUE(after->changedSince(*before, {0, 16}, {0, 64}));
  EXPECT_FALSE(after->changedSince(*before, {0, 16}, {64, 130}));
  EXPECT_FALSE(after->changedSince(*before, {16, 40}, {0, 128}));
  EXPECT_TRUE(after->changedSince(*before, {16, 40}, {128, 130}));
}

}  // namespace
}  // namespace quorvin
