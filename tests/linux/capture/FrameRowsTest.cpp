#include <gtest/gtest.h>

#include "tests/linux/capture/SessionHarness.h"

namespace quorvin {
namespace {

using Rows = std::vector<RowRange>;

constexpr std::uint32_t amber = 0xc08040;
constexpr std::uint32_t green = 0x00ff00;
constexpr std::uint32_t blue = 0x0000ff;

CaptureSettings withCursor() {
  auto settings = SessionHarness::usualSettings();
  settings.showsCursor = true;
  return settings;
}

CaptureSettings ofSize(PixelSize size) {
  auto settings = SessionHarness::usualSettings();
  settings.frameSize = size;
  return settings;
}

// The ways in which servers can tell of changes and hand over pixels.
class FrameRowsTest : public testing::TestWithParam<std::vector<std::string>> {
 protected:
  // The frame before anything changes.
  std::shared_ptr<CapturedFrame> begin(
      const CaptureSettings& settings = SessionHarness::usualSettings()) {
    harness.painter.fillAll(amber);
    harness.start(settings);
    return harness.nextFrame();
  }
  // Puts a cursor of 16 x 16 pixels there, with its hot spot in the middle.
  void placeCursor(int x, int y) {
    harness.painter.setCursor(16, green, 8);
    harness.painter.movePointer(x, y);
  }

  SessionHarness harness{GetParam()};
};

TEST_P(FrameRowsTest, AChangeMarksItsRowsAndNoOthers) {
  const auto before = begin();
  harness.painter.fill({100, 100, 7, 5}, blue);
  const auto after = harness.nextFrame();
  ASSERT_TRUE(after);
  EXPECT_EQ(rowsChangedSince(*before, *after), (Rows{{100, 105}}));
}

TEST_P(FrameRowsTest, WhatLiesBetweenTwoChangesIsNotMarked) {
  const auto before = begin();
  harness.painter.fill({10, 20, 2, 18}, blue);
  harness.painter.fill({10, 60, 2, 4}, blue);
  harness.painter.fill({300, 239, 5, 1}, blue);
  const auto after = harness.nextFrame();
  ASSERT_TRUE(after);
  EXPECT_EQ(rowsChangedSince(*before, *after), (Rows{{20, 38}, {60, 64}, {239, 240}}));
}

TEST_P(FrameRowsTest, AFrameCanBeComparedWithAnyEarlierOne) {
  const auto first = begin();
  harness.painter.fill({0, 10, 320, 2}, blue);
  const auto second = harness.nextFrame();
  harness.painter.fill({5, 50, 5, 3}, blue);
  const auto third = harness.nextFrame();
  ASSERT_TRUE(second && third);
  EXPECT_EQ(rowsChangedSince(*first, *third), (Rows{{10, 12}, {50, 53}}));
  EXPECT_EQ(rowsChangedSince(*second, *third), (Rows{{50, 53}}));
}

TEST_P(FrameRowsTest, AMoveOfThePointerMarksWhereItWasAndWhereItIs) {
  placeCursor(50, 50);
  const auto before = begin(withCursor());
  harness.painter.movePointer(200, 150);
  const auto after = harness.nextFrame();
  ASSERT_TRUE(after);
  EXPECT_EQ(rowsChangedSince(*before, *after), (Rows{{42, 58}, {142, 158}}));
}

TEST_P(FrameRowsTest, ANewLookOfThePointerMarksBoth) {
  placeCursor(50, 50);
  const auto before = begin(withCursor());
  harness.painter.setCursor(20, blue, 2);
  const auto after = harness.nextFrame();
  ASSERT_TRUE(after);
  EXPECT_EQ(rowsChangedSince(*before, *after), (Rows{{42, 68}}));
}

TEST_P(FrameRowsTest, APointerThatStaysMarksNothing) {
  placeCursor(50, 50);
  auto before = begin(withCursor());
  const DamageHistory first = *before->damageHistory();
  before.reset();  // so that its surface is drawn on again
  harness.painter.fill({200, 200, 4, 4}, blue);
  const auto after = harness.nextFrame();
  ASSERT_TRUE(after);
  EXPECT_TRUE(after->damageHistory()->changedSince(first, {200, 204}));
  EXPECT_FALSE(after->damageHistory()->changedSince(first, {0, 200}));
  EXPECT_FALSE(after->damageHistory()->changedSince(first, {204, 240}));
}

TEST_P(FrameRowsTest, ThePointerMarksItsRowsWhenItAppearsAndDisappears) {
  placeCursor(50, 235);
  const auto without = begin();
  harness.session->configure(withCursor());
  const auto with = harness.nextFrame();
  ASSERT_TRUE(with);
  EXPECT_EQ(rowsChangedSince(*without, *with), (Rows{{227, 240}}));
  harness.session->configure(SessionHarness::usualSettings());
  const auto withoutAgain = harness.nextFrame();
  ASSERT_TRUE(withoutAgain);
  EXPECT_EQ(rowsChangedSince(*with, *withoutAgain), (Rows{{227, 240}}));
}

TEST_P(FrameRowsTest, AnotherRateChangesNoRow) {
  placeCursor(50, 50);
  const auto before = begin(withCursor());
  auto slower = withCursor();
  slower.frameInterval *= 2;
  slower.queueDepth = 5;
  harness.session->configure(slower);
  const auto after = harness.nextFrame();
  ASSERT_TRUE(after);
  EXPECT_EQ(rowsChangedSince(*before, *after), Rows{});
}

TEST_P(FrameRowsTest, AnotherSizeBeginsANewSeries) {
  const auto before = begin();
  harness.session->configure(ofSize({160, 240}));
  const auto narrow = harness.nextFrame();
  ASSERT_TRUE(narrow);
  EXPECT_EQ(rowsChangedSince(*before, *narrow), (Rows{{0, 240}}));
  harness.session->configure(SessionHarness::usualSettings());
  const auto after = harness.nextFrame();
  ASSERT_TRUE(after);
  EXPECT_EQ(rowsChangedSince(*before, *after), (Rows{{0, 240}}));
}

TEST_P(FrameRowsTest, ARefreshedFrameChangesNoRow) {
  placeCursor(50, 50);
  const auto before = begin(withCursor());
  before->requestRefresh({});
  const auto after = harness.nextFrame();
  ASSERT_TRUE(after);
  EXPECT_TRUE(after->isRefresh());
  EXPECT_EQ(rowsChangedSince(*before, *after), Rows{});
}

TEST_P(FrameRowsTest, AScaledChangeMarksTheRowsItReaches) {
  const auto before = begin(ofSize({240, 180}));
  harness.painter.fill({100, 100, 3, 4}, blue);
  const auto after = harness.nextFrame();
  ASSERT_TRUE(after);
  EXPECT_EQ(rowsChangedSince(*before, *after), (Rows{{74, 79}}));
}

TEST_P(FrameRowsTest, AHalvedChangeMarksNoMoreThanItsRows) {
  const auto before = begin(ofSize({160, 120}));
  harness.painter.fill({100, 100, 3, 3}, blue);
  const auto after = harness.nextFrame();
  ASSERT_TRUE(after);
  EXPECT_EQ(rowsChangedSince(*before, *after), (Rows{{50, 52}}));
}

// Where the server tells of changes, it is known where in its rows one is.
TEST(FrameTiles, AChangeMarksTheTilesItReaches) {
  SessionHarness harness;
  harness.painter.fillAll(amber);
  harness.start();
  const auto before = harness.nextFrame();
  harness.painter.fill({100, 100, 7, 5}, blue);
  harness.painter.fill({250, 200, 10, 5}, blue);
  const auto after = harness.nextFrame();
  ASSERT_TRUE(before && after);
  const auto& history = *after->damageHistory();
  const auto& earlier = *before->damageHistory();
  EXPECT_FALSE(history.changedSince(earlier, {100, 105}, {0, 96}));
  EXPECT_TRUE(history.changedSince(earlier, {100, 105}, {96, 112}));
  EXPECT_FALSE(history.changedSince(earlier, {100, 105}, {112, 320}));
  EXPECT_FALSE(history.changedSince(earlier, {200, 205}, {0, 240}));
  EXPECT_TRUE(history.changedSince(earlier, {200, 205}, {240, 256}));
  EXPECT_TRUE(history.changedSince(earlier, {200, 205}, {256, 272}));
  EXPECT_FALSE(history.changedSince(earlier, {200, 205}, {272, 320}));
}

TEST(FrameTiles, AMoveOfThePointerMarksTheTilesItLeavesAndReaches) {
  SessionHarness harness;
  harness.painter.fillAll(amber);
  harness.painter.setCursor(16, green, 8);
  harness.painter.movePointer(104, 50);
  harness.start(withCursor());
  const auto before = harness.nextFrame();
  harness.painter.movePointer(300, 50);
  const auto after = harness.nextFrame();
  ASSERT_TRUE(before && after);
  const auto& history = *after->damageHistory();
  const auto& earlier = *before->damageHistory();
  EXPECT_FALSE(history.changedSince(earlier, {42, 58}, {0, 96}));
  EXPECT_TRUE(history.changedSince(earlier, {42, 58}, {96, 112}));
  EXPECT_FALSE(history.changedSince(earlier, {42, 58}, {112, 288}));
  EXPECT_TRUE(history.changedSince(earlier, {42, 58}, {288, 320}));
}

INSTANTIATE_TEST_SUITE_P(
    Servers, FrameRowsTest,
    testing::Values(std::vector<std::string>{}, std::vector<std::string>{"-extension", "MIT-SHM"},
                    std::vector<std::string>{"-extension", "DAMAGE"},
                    std::vector<std::string>{"-extension", "MIT-SHM", "-extension", "DAMAGE"}));

TEST(FrameRows, AMovedDisplayBeginsANewSeries) {
  SessionHarness harness;
  harness.painter.fillAll(amber);
  harness.painter.defineMonitor("cinema", {0, 0, 100, 100});
  harness.start(ofSize({100, 100}));
  const auto before = harness.nextFrame();
  ASSERT_TRUE(before);
  harness.painter.deleteMonitor("cinema");
  harness.painter.defineMonitor("cinema", {10, 10, 100, 100});
  const auto after = harness.nextFrame();
  ASSERT_TRUE(after);
  EXPECT_EQ(rowsChangedSince(*before, *after), (Rows{{0, 100}}));
}

TEST(FrameRows, AChangeOnAPartOfTheScreenMarksItsPlaceOnTheFrame) {
  SessionHarness harness;
  harness.painter.fillAll(amber);
  harness.painter.defineMonitor("cinema", {50, 60, 100, 100});
  harness.start(ofSize({100, 100}));
  const auto before = harness.nextFrame();
  harness.painter.fill({0, 50, 320, 12}, blue);
  const auto after = harness.nextFrame();
  ASSERT_TRUE(before && after);
  EXPECT_EQ(rowsChangedSince(*before, *after), (Rows{{0, 2}}));
}

// What is fetched for a caret between two frames that use the same surface.
std::uint64_t fetchedForACaret(const CaptureSettings& settings) {
  SessionHarness harness;
  harness.painter.fillAll(amber);
  harness.painter.movePointer(200, 200);
  harness.start(settings);
  if (!harness.nextFrame()) return 0;
  harness.counters->fetchedBytes = 0;
  harness.painter.fill({100, 100, 2, 18}, blue);
  if (!harness.nextFrame()) return 0;
  return harness.counters->fetchedBytes;
}

TEST(FrameRows, OnlyTheCaretIsFetched) {
  EXPECT_EQ(fetchedForACaret(SessionHarness::usualSettings()), 2U * 18 * bytesPerPixel);
}

TEST(FrameRows, OnlyTheCaretIsFetchedThoughThePointerIsDrawnAgain) {
  EXPECT_EQ(fetchedForACaret(withCursor()), 2U * 18 * bytesPerPixel);
}

TEST(FrameRows, OnlyTheCaretIsFetchedForAScaledFrame) {
  EXPECT_EQ(fetchedForACaret(ofSize({240, 180})), 2U * 18 * bytesPerPixel);
}

}  // namespace
}  // namespace quorvin
