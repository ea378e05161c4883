#include <gtest/gtest.h>

#include "platform/linux/capture/RowTracker.h"
#include "platform/linux/jpeg/RowPlan.h"

namespace quorvin {
namespace {

using Runs = std::vector<RowRange>;

Runs afterChanges(int heightPx, const Runs& changes) {
  RowTracker tracker;
  tracker.restart(heightPx);
  const auto before = tracker.nextPicture();
  for (const auto& rows : changes) tracker.markChanged(rows);
  return changedMcuRows(*tracker.nextPicture(), *before, heightPx);
}

TEST(RowPlan, IsEmptyWhenNothingChanged) {
  EXPECT_EQ(afterChanges(100, {}), Runs());
}

TEST(RowPlan, HasEveryMcuRowThatAChangedRowIsIn) {
  EXPECT_EQ(afterChanges(100, {{15, 16}}), (Runs{{0, 1}}));
  EXPECT_EQ(afterChanges(100, {{16, 17}}), (Runs{{1, 2}}));
  EXPECT_EQ(afterChanges(100, {{15, 17}}), (Runs{{0, 2}}));
  EXPECT_EQ(afterChanges(100, {{99, 100}}), (Runs{{6, 7}}));
}

TEST(RowPlan, JoinsNeighbours) {
  EXPECT_EQ(afterChanges(100, {{0, 1}, {20, 21}, {64, 65}}), (Runs{{0, 2}, {4, 5}}));
  EXPECT_EQ(afterChanges(100, {{0, 100}}), (Runs{{0, 7}}));
}

TEST(RowPlan, CutsLongRunsIntoEqualPieces) {
  EXPECT_EQ(cutRuns({{0, 68}}, 17), (Runs{{0, 17}, {17, 34}, {34, 51}, {51, 68}}));
  EXPECT_EQ(cutRuns({{0, 3}, {10, 15}}, 4), (Runs{{0, 3}, {10, 12}, {12, 15}}));
  EXPECT_EQ(cutRuns({}, 4), Runs());
}

TEST(RowPlan, CountsRows) {
  EXPECT_EQ(countRows({}), 0);
  EXPECT_EQ(countRows({{0, 3}, {10, 15}}), 8);
}

}  // namespace
}  // namespace quorvin
