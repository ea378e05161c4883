#include <gtest/gtest.h>

#include "platform/linux/capture/RowHistory.h"
#include "platform/linux/capture/RowTracker.h"

namespace quorvin {
namespace {

class RowHistoryTest : public ::testing::Test {
 protected:
  RowHistoryTest() { tracker.restart(10); }

  RowTracker tracker;
};

TEST_F(RowHistoryTest, NothingHasChangedSinceThePictureItself) {
  const auto picture = tracker.nextPicture();
  EXPECT_FALSE(picture->changedSince(*picture, {0, 10}));
}

TEST_F(RowHistoryTest, TellsTheChangedRowsAlone) {
  const auto before = tracker.nextPicture();
  tracker.markChanged({3, 5});
  const auto after = tracker.nextPicture();
  EXPECT_FALSE(after->changedSince(*before, {0, 3}));
  EXPECT_TRUE(after->changedSince(*before, {3, 4}));
  EXPECT_TRUE(after->changedSince(*before, {4, 5}));
  EXPECT_FALSE(after->changedSince(*before, {5, 10}));
}

TEST_F(RowHistoryTest, RemembersWhatPicturesInBetweenHaveChanged) {
  const auto before = tracker.nextPicture();
  tracker.markChanged({3, 4});
  const auto between = tracker.nextPicture();
  tracker.markChanged({7, 8});
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
  tracker.restart(10);
  const auto after = tracker.nextPicture();
  EXPECT_TRUE(after->changedSince(*before, {0, 1}));
  EXPECT_TRUE(after->changedSince(*before, {9, 10}));
}

TEST_F(RowHistoryTest, LeavesOutChangesBesideThePicture) {
  const auto before = tracker.nextPicture();
  tracker.markChanged({-5, 1});
  tracker.markChanged({9, 30});
  tracker.markChanged({40, 50});
  tracker.markChanged({6, 6});
  const auto after = tracker.nextPicture();
  EXPECT_TRUE(after->changedSince(*before, {0, 1}));
  EXPECT_FALSE(after->changedSince(*before, {1, 9}));
  EXPECT_TRUE(after->changedSince(*before, {9, 10}));
}

}  // namespace
}  // namespace quorvin
