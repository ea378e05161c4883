#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <limits>
#include <memory>
#include <thread>
#include <vector>

#include "platform/linux/dispatch/Dispatch.h"
#include "platform/linux/dispatch/DispatchBacklog.h"
#include "tests/linux/system/Latch.h"
#include "tests/linux/system/MainLoop.h"

namespace quorvin {
namespace {

constexpr std::uint64_t ms = 1'000'000;

class DispatchTimerTest : public testing::Test {
 protected:
  // Waits, on this thread, until the uptime clock has passed the time.
  void passUntil(std::uint64_t uptimeNs) {
    while (true) {
      const auto nowNs = dispatch.uptimeNanoseconds();
      if (nowNs >= uptimeNs) return;
      std::this_thread::sleep_for(std::chrono::nanoseconds(uptimeNs - nowNs));
    }
  }

  Latch fired;  // outlives the threads that hit it
  LinuxDispatch dispatch;
  std::shared_ptr<DispatchQueue> queue =
      dispatch.makeSerialQueue("test.timer", QualityOfService::unspecified);
  std::unique_ptr<DispatchTimer> timer = dispatch.makeTimer(queue);
};

TEST_F(DispatchTimerTest, FiresOnItsQueueAndNotBeforeTheDeadline) {
  const auto deadlineNs = dispatch.uptimeNanoseconds() + 20 * ms;
  std::uint64_t firedNs = 0;
  bool onQueue = false;
  timer->setEventHandler([&] {
    firedNs = dispatch.uptimeNanoseconds();
    onQueue = queue->isCurrent();
    fired.hit();
  });
  timer->schedule(deadlineNs, 0, 0);
  timer->resume();
  ASSERT_TRUE(fired.waitForHits(1));
  EXPECT_TRUE(onQueue);
  EXPECT_GE(firedNs, deadlineNs);
}

TEST_F(DispatchTimerTest, StaysSilentUntilItIsResumed) {
  auto other = dispatch.makeTimer(queue);
  timer->setEventHandler([&] { fired.hit(); });
  timer->schedule(0, ms, 0);
  Latch otherFired;
  other->setEventHandler([&] { otherFired.hit(); });
  other->schedule(0, ms, 0);
  other->resume();
  ASSERT_TRUE(otherFired.waitForHits(20));
  EXPECT_EQ(fired.count(), 0);
  timer->resume();
  EXPECT_TRUE(fired.waitForHits(1));
  dispatch.finish();
}

TEST_F(DispatchTimerTest, FiresOnceWithoutAnInterval) {
  auto other = dispatch.makeTimer(queue);
  timer->setEventHandler([&] { fired.hit(); });
  timer->schedule(dispatch.uptimeNanoseconds(), 0, 0);
  timer->resume();
  ASSERT_TRUE(fired.waitForHits(1));
  Latch otherFired;
  other->setEventHandler([&] { otherFired.hit(); });
  other->schedule(0, ms, 0);
  other->resume();
  ASSERT_TRUE(otherFired.waitForHits(20));
  EXPECT_EQ(fired.count(), 1);
  dispatch.finish();
}

TEST_F(DispatchTimerTest, NeverFiresWithADeadlineBeyondAllTime) {
  timer->setEventHandler([&] { fired.hit(); });
  timer->schedule(std::numeric_limits<std::uint64_t>::max(), ms, 0);
  timer->resume();
  auto farOff = dispatch.makeTimer(queue);
  farOff->setEventHandler([&] { fired.hit(); });
  farOff->schedule(std::numeric_limits<std::uint64_t>::max() - 1, ms, 0);
  farOff->resume();
  Latch alive;
  queue->async([&] { alive.hit(); });
  ASSERT_TRUE(alive.waitForHits(1));
  EXPECT_EQ(fired.count(), 0);
}

// A timer that counted from the end of each handler would need nearly two periods a fire.
TEST_F(DispatchTimerTest, KeepsToItsGridHoweverLongTheHandlersTake) {
  constexpr std::uint64_t periodNs = 10 * ms;
  constexpr std::uint64_t fires = 30;
  const auto startNs = dispatch.uptimeNanoseconds();
  std::uint64_t fire = 0;
  bool early = false;
  timer->setEventHandler([&] {
    const auto nowNs = dispatch.uptimeNanoseconds();
    early = early || nowNs < startNs + fire * periodNs;
    ++fire;
    passUntil(nowNs + periodNs * 9 / 10);
    fired.hit();
  });
  timer->schedule(startNs, periodNs, 0);
  timer->resume();
  ASSERT_TRUE(fired.waitForHits(fires));
  EXPECT_LT(dispatch.uptimeNanoseconds(), startNs + fires * periodNs * 16 / 10);
  dispatch.finish();
  EXPECT_FALSE(early);
}

TEST_F(DispatchTimerTest, FoldsMissedFiresIntoOne) {
  constexpr std::uint64_t periodNs = 2 * ms;
  const auto startNs = dispatch.uptimeNanoseconds();
  std::uint64_t freeNs = 0;
  queue->async([&] {
    passUntil(startNs + 50 * periodNs);
    freeNs = dispatch.uptimeNanoseconds();
  });
  std::vector<std::uint64_t> firedNs;
  timer->setEventHandler([&] {
    firedNs.push_back(dispatch.uptimeNanoseconds());
    fired.hit();
  });
  timer->schedule(startNs, periodNs, 0);
  timer->resume();
  ASSERT_TRUE(fired.waitForHits(20));
  dispatch.finish();
  const auto freeSlot = (freeNs - startNs) / periodNs;
  // The first makes up for the fifty missed ones; each later one waited for a slot of its own.
  for (std::size_t fire = 1; fire < firedNs.size(); ++fire) {
    EXPECT_GE(firedNs[fire], startNs + (freeSlot + fire) * periodNs);
  }
}

TEST_F(DispatchTimerTest, LetsATaskThatWasQueuedBeforeItWasDueRunFirst) {
  std::vector<char> order;
  Latch ready;
  Latch busy;
  queue->async([&] {
    busy.hit();
    EXPECT_TRUE(ready.waitForHits(1));
  });
  ASSERT_TRUE(busy.waitForHits(1));
  queue->async([&] { order.push_back('t'); });
  timer->setEventHandler([&] {
    order.push_back('f');
    fired.hit();
  });
  timer->schedule(dispatch.uptimeNanoseconds(), 0, 0);
  timer->resume();
  ready.hit();
  ASSERT_TRUE(fired.waitForHits(1));
  dispatch.finish();
  EXPECT_EQ(order, (std::vector<char>{'t', 'f'}));
}

TEST_F(DispatchTimerTest, NeverFiresAgainOnceCancelledOnItsQueue) {
  std::atomic<bool> cancelled = false;
  std::atomic<bool> firedLater = false;
  timer->setEventHandler([&] {
    if (cancelled) firedLater = true;
    fired.hit();
  });
  timer->schedule(dispatch.uptimeNanoseconds(), 1, 0);
  timer->resume();
  ASSERT_TRUE(fired.waitForHits(10));
  queue->async([&] {
    timer->cancel();
    cancelled = true;
  });
  Latch after;
  auto other = dispatch.makeTimer(queue);
  other->setEventHandler([&] { after.hit(); });
  other->schedule(0, 1, 0);
  other->resume();
  ASSERT_TRUE(after.waitForHits(100));
  dispatch.finish();
  EXPECT_TRUE(cancelled);
  EXPECT_FALSE(firedLater);
}

TEST_F(DispatchTimerTest, MayBeCancelledByItsHandler) {
  auto held = std::make_shared<int>(7);
  const std::weak_ptr<int> watched = held;
  int readAfterCancel = 0;
  timer->setEventHandler([&, held = std::move(held)] {
    timer->cancel();
    readAfterCancel = *held;
    fired.hit();
  });
  timer->schedule(0, 1, 0);
  timer->resume();
  ASSERT_TRUE(fired.waitForHits(1));
  dispatch.finish();
  EXPECT_EQ(readAfterCancel, 7);
  EXPECT_EQ(fired.count(), 1);
  EXPECT_TRUE(watched.expired());
}

TEST_F(DispatchTimerTest, MayBeDestroyedByItsHandlerTogetherWithItsQueue) {
  auto held = std::make_shared<int>(7);
  int readAfterEnd = 0;
  timer->setEventHandler([&, held] {
    timer.reset();
    readAfterEnd = *held;
    fired.hit();
  });
  timer->schedule(dispatch.uptimeNanoseconds() + 10 * ms, 1, 0);
  timer->resume();
  queue.reset();
  ASSERT_TRUE(fired.waitForHits(1));
  dispatch.finish();
  EXPECT_EQ(readAfterEnd, 7);
  EXPECT_EQ(fired.count(), 1);
  EXPECT_EQ(held.use_count(), 1);
}

TEST_F(DispatchTimerTest, KeepsItsQueue) {
  const std::weak_ptr<DispatchQueue> watched = queue;
  queue.reset();
  EXPECT_FALSE(watched.expired());
  timer.reset();
  EXPECT_TRUE(watched.expired());
}

TEST_F(DispatchTimerTest, FiresInTheOrderOfTheDeadlines) {
  auto second = dispatch.makeTimer(queue);
  std::vector<int> order;
  queue->async([&] {
    timer->setEventHandler([&] { order.push_back(2); });
    timer->schedule(2, 0, 0);
    second->setEventHandler([&] { order.push_back(1); });
    second->schedule(1, 0, 0);
    timer->resume();
    second->resume();
  });
  auto last = dispatch.makeTimer(queue);
  last->setEventHandler([&] { fired.hit(); });
  last->schedule(dispatch.uptimeNanoseconds() + 30 * ms, 0, 0);
  last->resume();
  ASSERT_TRUE(fired.waitForHits(1));
  dispatch.finish();
  EXPECT_EQ(order, (std::vector<int>{1, 2}));
}

TEST(NextFireNs, IsTheNextPointOfTheGrid) {
  EXPECT_EQ(nextFireNs(100, 10, 100), 110U);
  EXPECT_EQ(nextFireNs(100, 10, 109), 110U);
  EXPECT_EQ(nextFireNs(100, 10, 110), 120U);
  EXPECT_EQ(nextFireNs(100, 10, 1'234), 1'240U);
  EXPECT_EQ(nextFireNs(0, 1, 7), 8U);
}

TEST(NextFireNs, IsNeverWithoutAnIntervalOrBeyondAllTime) {
  constexpr auto never = std::numeric_limits<std::uint64_t>::max();
  EXPECT_EQ(nextFireNs(100, 0, 200), never);
  EXPECT_EQ(nextFireNs(100, never, 200), never);
  EXPECT_EQ(nextFireNs(0, never, 0), never);
  EXPECT_EQ(nextFireNs(never - 5, 10, never - 1), never);
}

TEST(MainQueueTimer, FiresRepeatedlyOnTheMainThreadAndNeverEarly) {
  LinuxDispatch dispatch;
  auto timer = dispatch.makeTimer(dispatch.mainQueue());
  const auto startNs = dispatch.uptimeNanoseconds() + 5 * ms;
  constexpr std::uint64_t periodNs = 3 * ms + 1;
  std::uint64_t fires = 0;
  bool early = false;
  timer->setEventHandler([&] {
    early = early || dispatch.uptimeNanoseconds() < startNs + fires * periodNs;
    ++fires;
  });
  timer->schedule(startNs, periodNs, 0);
  timer->resume();
  while (fires < 10) g_main_context_iteration(nullptr, TRUE);
  EXPECT_FALSE(early);
  timer->cancel();
}

TEST(MainQueueTimer, WakesALoopThatSleepsAlready) {
  LinuxDispatch dispatch;
  auto timer = dispatch.makeTimer(dispatch.mainQueue());
  auto queue = dispatch.makeSerialQueue("test.arming", QualityOfService::unspecified);
  bool fired = false;
  timer->setEventHandler([&] { fired = true; });
  queue->async([&] {
    timer->schedule(dispatch.uptimeNanoseconds() + 20 * ms, 0, 0);
    timer->resume();
  });
  while (!fired) g_main_context_iteration(nullptr, TRUE);
  EXPECT_TRUE(fired);
}

}  // namespace
}  // namespace quorvin
