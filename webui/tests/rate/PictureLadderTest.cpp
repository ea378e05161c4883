#include <gtest/gtest.h>

#include "webui/remote/PictureLadder.h"

namespace quorvin::webui {
namespace {

using std::chrono::milliseconds;

class PictureLadderTest : public testing::Test {
 protected:
  // For so long, in ms: 20 frames a second come, of which every other one can be sent.
  void busy(int forMs, double bytes, double wholeBytes, double rate) {
    for (int ms = 0; ms < forMs; ms += 50) {
      const bool waits = ms % 100 == 0;
      ladder.offered(true, now);
      if (!waits) ladder.sent(bytes, wholeBytes, now);
      pass(50, rate);
    }
  }
  void still(int forMs, double rate) {
    for (int ms = 0; ms < forMs; ms += 50) pass(50, rate);
  }
  void pass(int ms, double rate) {
    now += milliseconds(ms);
    if (!ladder.review(rate, now)) return;
    if (lastChange) {
      EXPECT_GE(secondsBetween(*lastChange, now), 1.99);
    }
    lastChange = now;
    ++changes;
  }

  PictureLadder ladder;
  RateTime now = RateTime(std::chrono::hours(1));
  std::optional<RateTime> lastChange;
  int changes = 0;
};

constexpr double megabit = 1e6 / 8;

TEST_F(PictureLadderTest, WhatFitsStaysAsChosen) {
  ladder.choose({.profile = "sharp", .width = 3840, .fps = 24, .quality = 90}, true);
  busy(5000, 30'000, 300'000, 8 * megabit);
  EXPECT_EQ(changes, 0);
  EXPECT_EQ(ladder.wish(), (PictureWish{.width = 3840, .fps = 24, .quality = 90, .videoMbps = {}}));
}

TEST_F(PictureLadderTest, WhatIsTooMuchForAMomentChangesNothing) {
  ladder.choose({}, true);
  busy(3000, 30'000, 30'000, 8 * megabit);
  busy(400, 30'000, 30'000, 2 * megabit);
  busy(3000, 30'000, 30'000, 8 * megabit);
  EXPECT_EQ(changes, 0);
}

TEST_F(PictureLadderTest, QualityGoesFirst) {
  ladder.choose({}, true);
  busy(3000, 30'000, 100'000, 3.5 * megabit);
  EXPECT_EQ(changes, 1);
  EXPECT_EQ(ladder.wish(), (PictureWish{.quality = 50, .videoMbps = {}, .steps = 2}));
}

TEST_F(PictureLadderTest, ThenWidthAndThenFrames) {
  ladder.choose({}, true);
  busy(3000, 30'000, 100'000, 5 * megabit);
  busy(1500, 30'000, 100'000, 1.4 * megabit);
  EXPECT_EQ(ladder.wish(),
            (PictureWish{.width = 1280, .fps = 30, .quality = 40, .videoMbps = {}, .steps = 5}));
  busy(6000, 30'000, 100'000, 0.5 * megabit);
  EXPECT_EQ(ladder.wish(),
            (PictureWish{.width = 1280, .fps = 10, .quality = 40, .videoMbps = {}, .steps = 8}));
}

TEST_F(PictureLadderTest, SharpPictureGivesFramesFirst) {
  ladder.choose({.profile = "sharp", .width = 3840, .fps = 24, .quality = 90}, true);
  busy(3000, 30'000, 100'000, 5 * megabit);
  busy(1500, 30'000, 100'000, 2.5 * megabit);
  EXPECT_EQ(ladder.wish(),
            (PictureWish{.width = 3840, .fps = 10, .quality = 90, .videoMbps = {}, .steps = 3}));
}

TEST_F(PictureLadderTest, NothingIsMoreThanWasChosen) {
  ladder.choose({.profile = "fast", .width = 1280, .fps = 12, .quality = 45}, true);
  busy(9000, 30'000, 100'000, 0.5 * megabit);
  EXPECT_EQ(ladder.wish(),
            (PictureWish{.width = 1280, .fps = 10, .quality = 40, .videoMbps = {}, .steps = 2}));
}

TEST_F(PictureLadderTest, WholeFileThatTakesLongHasToPay) {
  ladder.choose({}, true);
  busy(1900, 30'000, 900'000, 2 * megabit);
  EXPECT_EQ(changes, 0);
  busy(3000, 30'000, 900'000, 2 * megabit);
  EXPECT_EQ(changes, 1);
}

TEST_F(PictureLadderTest, SingleLargeFrameIsNoReason) {
  ladder.choose({}, true);
  ladder.sent(300'000, 300'000, now);
  for (int frame = 0; frame < 60; ++frame) {
    ladder.offered(true, now);
    pass(50, megabit);
  }
  EXPECT_EQ(changes, 0);
}

TEST_F(PictureLadderTest, WhatMovesAllOverTurnsIntoH264AndBackWhenItIsCalm) {
  ladder.choose({}, true);
  busy(3000, 100'000, 100'000, 5 * megabit);
  EXPECT_EQ(ladder.wish(), (PictureWish{.width = 1600, .fps = 20, .videoMbps = 4, .steps = 1}));
  still(2900, 5 * megabit);
  EXPECT_TRUE(ladder.wish().videoMbps);
  still(2000, 5 * megabit);
  EXPECT_EQ(ladder.wish(), PictureWish());
}

TEST_F(PictureLadderTest, NoH264ForThoseWhoCannotShowIt) {
  ladder.choose({}, false);
  busy(9000, 100'000, 100'000, 5 * megabit);
  EXPECT_FALSE(ladder.wish().videoMbps);
  EXPECT_GT(ladder.wish().steps, 0);
}

TEST_F(PictureLadderTest, H264EndsWhenSomebodyComesWhoCannotShowIt) {
  ladder.choose({}, true);
  busy(3000, 100'000, 100'000, 5 * megabit);
  ASSERT_TRUE(ladder.wish().videoMbps);
  ladder.choose({}, false);
  EXPECT_FALSE(ladder.wish().videoMbps);
}

TEST_F(PictureLadderTest, ChosenH264GetsFewerBytesAndThenItsOwnAgain) {
  ladder.choose({.mbps = 7, .video = true}, false);
  still(3000, 2 * megabit);
  EXPECT_EQ(ladder.wish(), (PictureWish{.videoMbps = 7})) << "nothing waits";
  busy(3000, 30'000, 30'000, 2 * megabit);
  EXPECT_EQ(ladder.wish(), (PictureWish{.width = 1280, .fps = 15, .videoMbps = 2, .steps = 1}));
  still(9000, 20 * megabit);
  EXPECT_EQ(ladder.wish(), (PictureWish{.videoMbps = 7}));
}

TEST_F(PictureLadderTest, WayUpThatFailsIsTriedLessAndLessOften) {
  ladder.choose({}, false);
  std::vector<double> waits;
  for (int round = 0; round < 3; ++round) {
    busy(6000, 30'000, 100'000, 1.2 * megabit);
    ASSERT_GT(ladder.wish().steps, 0);
    const auto down = *lastChange;
    for (int ms = 0; ladder.wish().steps > 0 && ms < 30'000; ms += 50) still(50, 1.2 * megabit);
    waits.push_back(secondsBetween(down, now));
  }
  EXPECT_GE(waits[1], 7.9);
  EXPECT_GE(waits[2], 15.9);
  EXPECT_LT(waits[2], 17);
}

}  // namespace
}  // namespace quorvin::webui
