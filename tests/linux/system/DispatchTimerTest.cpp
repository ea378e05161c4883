#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <limits>
#include <memory>
#include <thread>
#include <vector>

#include "platform/linux/dispatch/Dispatch.h"
#include "platform/linux/dispatch/TaskQueue.h"
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

// Told from when the timer is due next, which does not depend on how fast this machine is.
TEST_F(DispatchTimerTest, KeepsToItsGridHoweverLongTheHandlersTake) {
  constexpr std::uint64_t periodNs = ms;
  TaskQueue backlog;
  const auto onGrid = TaskQueue::makeTimer();
  std::uint64_t begunNs = 0;
  backlog.setHandler(*onGrid, [&] {
    begunNs = monotonicNanoseconds();
    passUntil(begunNs + periodNs * 5 / 2);
  });
  const auto startNs = monotonicNanoseconds();
  backlog.schedule(*onGrid, startNs, periodNs);
  backlog.resume(onGrid);
  for (int fire = 0; fire < 10; ++fire) {
    const auto dueNs = backlog.nextDueNs().value();
    ASSERT_TRUE(backlog.waitForWork());
    const auto turnNs = monotonicNanoseconds();
    backlog.drainOnce();
    EXPECT_GE(begunNs, dueNs);
    const auto nextNs = backlog.nextDueNs().value();
    EXPECT_EQ((nextNs - startNs) % periodNs, 0U);
    EXPECT_GT(nextNs, turnNs);  // what was missed is one fire
    EXPECT_LE(nextNs, begunNs + periodNs);
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
