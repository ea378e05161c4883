#include <gtest/gtest.h>

#include "webui/remote/RateController.h"

namespace quorvin::webui {
namespace {

using std::chrono::milliseconds;

class RateControllerTest : public testing::Test {
 protected:
  void send(std::size_t bytes) { rate.sent(bytes, 300'000, now); }
  void pass(int ms) { now += milliseconds(ms); }

  // A frame of so many bytes every so many ms, each acknowledged a round trip of 40 ms later, while
  // others wait.
  void stream(std::size_t bytes, int everyMs, int frames) {
    std::deque<RateTime> due;
    for (int frame = 0; frame < frames; ++frame) {
      send(bytes);
      rate.offered(true, now);
      due.push_back(now + milliseconds(40));
      for (int ms = 0; ms < everyMs; ++ms) {
        pass(1);
        for (; !due.empty() && due.front() <= now; due.pop_front()) rate.acknowledged(1, now);
      }
    }
  }

  RateController rate;
  RateTime now = RateTime(std::chrono::hours(1));
};

TEST_F(RateControllerTest, SmallFramesNeedNoAcknowledgement) {
  for (int frame = 0; frame < 10; ++frame) {
    EXPECT_TRUE(rate.open(now));
    send(300);
  }
}

TEST_F(RateControllerTest, NeitherDoTheyOverAShortWay) {
  send(300);
  pass(5);
  rate.acknowledged(1, now);
  for (int frame = 0; frame < 10; ++frame) {
    EXPECT_TRUE(rate.open(now));
    send(600);
    pass(5);
  }
}

TEST_F(RateControllerTest, RestSaysNothingOfTheRate) {
  stream(25'000, 20, 200);
  rate.acknowledged(10, now);
  pass(5000);
  send(25'000);
  rate.offered(true, now);
  pass(150);
  rate.acknowledged(1, now);
  EXPECT_GT(rate.bytesPerSecond(), 0.8e6);
}

TEST_F(RateControllerTest, FrameGoesOnceTheOneBeforeShouldHaveLeft) {
  send(30'000);
  EXPECT_FALSE(rate.open(now));
  const auto wait = rate.opensIn(now);
  ASSERT_TRUE(wait);
  EXPECT_GT(*wait, milliseconds(40));
  EXPECT_LT(*wait, milliseconds(80)) << "which is what 30 kB take at 3 Mbit/s";
  now += *wait;
  EXPECT_TRUE(rate.open(now));
}

TEST_F(RateControllerTest, WithoutAcknowledgementsTwoLargeFramesGo) {
  send(60'000);
  pass(1000);
  EXPECT_TRUE(rate.open(now));
  send(60'000);
  pass(3000);
  EXPECT_FALSE(rate.open(now));
  EXPECT_FALSE(rate.opensIn(now)) << "by itself";
  rate.acknowledged(1, now);
  EXPECT_TRUE(rate.open(now));
}

TEST_F(RateControllerTest, AcknowledgedFrameHasLeft) {
  send(300'000);
  pass(100);
  EXPECT_FALSE(rate.open(now));
  rate.acknowledged(1, now);
  EXPECT_TRUE(rate.open(now));
}

TEST_F(RateControllerTest, SpareAcknowledgementsOpenNothing) {
  rate.acknowledged(1000, now);
  send(60'000);
  pass(1000);
  send(60'000);
  EXPECT_FALSE(rate.opensIn(now));
}

TEST_F(RateControllerTest, FollowsAGreaterRate) {
  stream(25'000, 20, 200);
  EXPECT_NEAR(rate.bytesPerSecond(), 1.25e6, 0.1e6);
}

TEST_F(RateControllerTest, WhoSendsLittleForgetsNoRate) {
  stream(25'000, 20, 200);
  for (int frame = 0; frame < 200; ++frame) {
    send(300);
    rate.offered(false, now);
    pass(100);
    rate.acknowledged(1, now);
  }
  EXPECT_GT(rate.bytesPerSecond(), 1e6);
}

TEST_F(RateControllerTest, RateOfASmallerPictureIsNotDreamtUp) {
  rate.choose({.mbps = 7, .video = true}, true);
  for (int round = 0; round < 40; ++round) {
    send(25'000);
    rate.offered(true, now);
    pass(100);
    rate.acknowledged(1, now);
    if (round % 2 == 0) (void)rate.review(now);
  }
  ASSERT_GT(rate.wish().steps, 0);
  const auto known = rate.bytesPerSecond();
  for (int frame = 0; frame < 600; ++frame) {
    send(1000);
    rate.offered(false, now);
    pass(50);
    rate.acknowledged(1, now);
    pass(200);
    (void)rate.review(now);
  }
  EXPECT_LE(rate.bytesPerSecond(), 1.1 * known);
}

TEST_F(RateControllerTest, RunsEmptyWhenItNeverHasForTenSeconds) {
  int closed = 0;
  for (int frame = 0; frame < 600; ++frame) {
    send(1000);
    pass(20);
    if (frame >= 2 && frame % 3 == 2) rate.acknowledged(2, now);
    if (!rate.opensIn(now)) ++closed;
  }
  EXPECT_GT(closed, 0);
  rate.acknowledged(600, now);
  EXPECT_TRUE(rate.open(now));
}

}  // namespace
}  // namespace quorvin::webui
