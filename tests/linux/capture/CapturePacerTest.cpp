#include <gtest/gtest.h>

#include "platform/linux/capture/CaptureSession.h"

namespace quorvin {
namespace {

using std::chrono::milliseconds;
using Action = CapturePacer::Action;

constexpr CaptureTime start{std::chrono::hours(1)};
constexpr milliseconds interval(100);

TEST(CapturePacer, PollsAtOnceAtTheFirstChange) {
  const CapturePacer pacer(start, interval);
  EXPECT_EQ(pacer.decide(start, true, true).action, Action::poll);
}

TEST(CapturePacer, HoldsBackAChangeThatFollowsTooSoon) {
  CapturePacer pacer(start, interval);
  pacer.captured(start);
  const auto decision = pacer.decide(start + milliseconds(30), true, true);
  EXPECT_EQ(decision.action, Action::wait);
  EXPECT_EQ(decision.wakeAt, start + interval);
  EXPECT_EQ(pacer.decide(start + interval, true, true).action, Action::poll);
}

TEST(CapturePacer, DoesNotDelayAChangeAfterAQuietTime) {
  CapturePacer pacer(start, interval);
  pacer.captured(start);
  EXPECT_EQ(pacer.decide(start + milliseconds(133), true, true).action, Action::poll);
}

TEST(CapturePacer, NeverExceedsTheRateUnderConstantChange) {
  CapturePacer pacer(start, interval);
  int captures = 0;
  for (auto now = start; now < start + std::chrono::seconds(10); now += milliseconds(1)) {
    if (pacer.decide(now, true, true).action != Action::poll) continue;
    pacer.captured(now);
    ++captures;
  }
  EXPECT_EQ(captures, 100);
}

TEST(CapturePacer, SendsAnIdleSampleEverySecondWhileNothingChanges) {
  CapturePacer pacer(start, interval);
  pacer.captured(start);
  int idles = 0;
  for (auto now = start; now <= start + std::chrono::seconds(10); now += milliseconds(1)) {
    if (pacer.decide(now, false, true).action != Action::idle) continue;
    pacer.idled(now);
    ++idles;
  }
  EXPECT_EQ(idles, 10);
}

TEST(CapturePacer, WaitsForTheIdleSampleWhenNothingElseIsDue) {
  CapturePacer pacer(start, interval);
  pacer.captured(start);
  EXPECT_EQ(pacer.decide(start + milliseconds(10), false, true).wakeAt,
            start + CapturePacer::idleInterval);
}

TEST(CapturePacer, AnIdleSampleDoesNotDelayAChange) {
  CapturePacer pacer(start, interval);
  pacer.captured(start);
  pacer.idled(start + CapturePacer::idleInterval);
  EXPECT_EQ(pacer.decide(start + CapturePacer::idleInterval + milliseconds(1), true, true).action,
            Action::poll);
}

TEST(CapturePacer, StaysAliveWithIdleSamplesWhileNoSurfaceIsFree) {
  CapturePacer pacer(start, interval);
  pacer.captured(start);
  EXPECT_EQ(pacer.decide(start + milliseconds(500), true, false).action, Action::wait);
  EXPECT_EQ(pacer.decide(start + CapturePacer::idleInterval, true, false).action, Action::idle);
}

TEST(CapturePacer, CapturesAsSoonAsASurfaceIsFree) {
  CapturePacer pacer(start, interval);
  pacer.captured(start);
  ASSERT_EQ(pacer.decide(start + milliseconds(500), true, false).action, Action::wait);
  EXPECT_EQ(pacer.decide(start + milliseconds(501), true, true).action, Action::poll);
}

TEST(CapturePacer, APollInVainDelaysTheNextOnlyALittle) {
  CapturePacer pacer(start, interval);
  pacer.foundNothing(start);
  const auto decision = pacer.decide(start, true, true);
  EXPECT_EQ(decision.action, Action::wait);
  EXPECT_EQ(decision.wakeAt, start + CapturePacer::emptyPollInterval);
}

TEST(CapturePacer, PollsInVainDoNotSuppressIdleSamples) {
  CapturePacer pacer(start, interval);
  pacer.captured(start);
  int idles = 0;
  for (auto now = start; now <= start + std::chrono::seconds(3); now += milliseconds(1)) {
    switch (pacer.decide(now, true, true).action) {
      case Action::poll:
        pacer.foundNothing(now);
        break;
      case Action::idle:
        pacer.idled(now);
        ++idles;
        break;
      case Action::wait:
        break;
    }
  }
  EXPECT_GE(idles, 2);
}

TEST(CapturePacer, PollsWhenToldTo) {
  CapturePacer pacer(start, interval);
  pacer.setPollInterval(milliseconds(250));
  pacer.captured(start);
  EXPECT_EQ(pacer.decide(start + milliseconds(249), false, true).wakeAt, start + milliseconds(250));
  EXPECT_EQ(pacer.decide(start + milliseconds(250), false, true).action, Action::poll);
}

TEST(CapturePacer, AppliesANewIntervalToTheNextCapture) {
  CapturePacer pacer(start, interval);
  pacer.captured(start);
  pacer.setFrameInterval(milliseconds(400));
  EXPECT_EQ(pacer.decide(start + interval, true, true).wakeAt, start + milliseconds(400));
  pacer.setFrameInterval(milliseconds(20));
  EXPECT_EQ(pacer.decide(start + milliseconds(20), true, true).action, Action::poll);
}

}  // namespace
}  // namespace quorvin
