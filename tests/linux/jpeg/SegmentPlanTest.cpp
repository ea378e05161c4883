#include <gtest/gtest.h>

#include "platform/linux/frame/DamageHistory.h"
#include "platform/linux/jpeg/SegmentPlan.h"

namespace quorvin {
namespace {

using Rects = std::vector<SegmentRect>;

constexpr JpegParams narrow{100, 100, 72};  // one segment across, seven MCU rows
constexpr JpegParams wide{1920, 100, 72};   // eight across, each of 240 pixels

Rects afterChanges(const JpegParams& params, const std::vector<PixelRect>& changes) {
  DamageTracker tracker;
  tracker.restart({params.widthPx, params.heightPx});
  const auto before = tracker.nextFrame();
  for (const auto& area : changes) tracker.markDamaged(area);
  return changedSegments(*tracker.nextFrame(), *before, params);
}

TEST(SegmentPlan, IsEmptyWhenNothingChanged) {
  EXPECT_EQ(afterChanges(wide, {}), Rects());
}

TEST(SegmentPlan, HasEveryMcuRowThatAChangedRowIsIn) {
  EXPECT_EQ(afterChanges(narrow, {{50, 15, 1, 1}}), (Rects{{{0, 1}, 0, 1}}));
  EXPECT_EQ(afterChanges(narrow, {{50, 16, 1, 1}}), (Rects{{{1, 2}, 0, 1}}));
  EXPECT_EQ(afterChanges(narrow, {{50, 15, 1, 2}}), (Rects{{{0, 2}, 0, 1}}));
  EXPECT_EQ(afterChanges(narrow, {{99, 99, 1, 1}}), (Rects{{{6, 7}, 0, 1}}));
}

TEST(SegmentPlan, HasEverySegmentThatAChangedColumnIsIn) {
  EXPECT_EQ(afterChanges(wide, {{0, 0, 1, 1}}), (Rects{{{0, 1}, 0, 1}}));
  EXPECT_EQ(afterChanges(wide, {{600, 0, 600, 20}}), (Rects{{{0, 2}, 2, 5}}));
  EXPECT_EQ(afterChanges(wide, {{1919, 0, 1, 1}}), (Rects{{{0, 1}, 7, 8}}));
}

TEST(SegmentPlan, JoinsWhatIsAsWideAsWhatIsAboveIt) {
  EXPECT_EQ(afterChanges(wide, {{0, 0, 1, 1}, {9, 20, 1, 1}, {9, 64, 1, 1}}),
            (Rects{{{0, 2}, 0, 1}, {{4, 5}, 0, 1}}));
  EXPECT_EQ(afterChanges(wide, {{0, 0, 1920, 100}}), Rects{allSegments(wide)});
}

TEST(SegmentPlan, KeepsApartWhatLiesSideBySide) {
  EXPECT_EQ(afterChanges(wide, {{0, 0, 1, 32}, {1000, 0, 300, 48}}),
            (Rects{{{0, 2}, 0, 1}, {{0, 3}, 4, 6}}));
  EXPECT_EQ(afterChanges(wide, {{0, 0, 300, 16}, {0, 16, 1, 16}}),
            (Rects{{{0, 1}, 0, 2}, {{1, 2}, 0, 1}}));
}

TEST(SegmentPlan, CutsLargeRectanglesIntoEqualPieces) {
  EXPECT_EQ(cutRects({{{0, 68}, 0, 1}}, 17),
            (Rects{{{0, 17}, 0, 1}, {{17, 34}, 0, 1}, {{34, 51}, 0, 1}, {{51, 68}, 0, 1}}));
  EXPECT_EQ(cutRects({{{0, 4}, 2, 4}, {{10, 12}, 0, 8}}, 4),
            (Rects{{{0, 2}, 2, 4}, {{2, 4}, 2, 4}, {{10, 11}, 0, 8}, {{11, 12}, 0, 8}}));
  EXPECT_EQ(cutRects({{{3, 4}, 0, 8}}, 4), (Rects{{{3, 4}, 0, 8}}));
  EXPECT_EQ(cutRects({}, 4), Rects());
}

TEST(SegmentPlan, CountsSegments) {
  EXPECT_EQ(countSegments({}), 0);
  EXPECT_EQ(countSegments({{{0, 3}, 0, 1}, {{10, 15}, 2, 4}}), 13);
}

TEST(JpegParams, CutsRowsIntoAsManyEqualSegmentsAsPay) {
  EXPECT_EQ(segmentsAcross(1920), 8);
  EXPECT_EQ(segmentsAcross(1905), 8);  // as many MCUs
  EXPECT_EQ(segmentsAcross(1440), 6);  // 90 MCUs
  EXPECT_EQ(segmentsAcross(1366), 2);  // 86
  EXPECT_EQ(segmentsAcross(1616), 1);  // 101, a prime number
  EXPECT_EQ(segmentsAcross(320), 2);   // no shorter ones
  EXPECT_EQ(segmentsAcross(1), 1);
  EXPECT_EQ(segmentMcus(1440), 15);
}

TEST(JpegParams, GivesTheLastSegmentWhatThereIsOfIt) {
  EXPECT_EQ(pixelColumnsOf(2, 5, 1920), (ColumnRange{480, 1200}));
  EXPECT_EQ(pixelColumnsOf(7, 8, 1905), (ColumnRange{1680, 1905}));
}

}  // namespace
}  // namespace quorvin
