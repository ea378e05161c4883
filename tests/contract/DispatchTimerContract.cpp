#include <cstdint>
#include <memory>
#include <thread>
#include <vector>

#include "tests/contract/DispatchContract.h"
#include "tests/contract/OnRelease.h"
#include "tests/contract/Record.h"

namespace quorvin::contract {
namespace {

struct Fire {
  std::uint64_t timeNs;
  bool isOnQueue;
};

// Writes down when it runs, and whether that is on the queue.
Task noteFires(const Record<Fire>& fires, Dispatch& clock, const DispatchQueue& queue) {
  return [fires, &clock, &queue] {
    fires.add({clock.uptimeNanoseconds(), queue.isCurrent()});
  };
}

}  // namespace

TEST_P(DispatchTimerContract, FiresOnItsQueueAndNotBeforeTheDeadline) {
  for (const auto& queue : {main, serial}) {
    const Record<Fire> fires;
    const auto timer = dispatch().makeTimer(queue);
    const auto deadlineNs = dispatch().uptimeNanoseconds() + 5 * ms;
    timer->setEventHandler(noteFires(fires, dispatch(), *queue));
    timer->schedule(deadlineNs, 0, 0);
    timer->resume();
    world->advance(5 * ms);
    ASSERT_TRUE(runUntil([&] { return fires.size() == 1; }));
    EXPECT_TRUE(fires.all()[0].isOnQueue);
    EXPECT_GE(fires.all()[0].timeNs, deadlineNs);
  }
}

TEST_P(DispatchTimerContract, FiresOnAGridThatDoesNotDrift) {
  constexpr std::uint64_t periodNs = 2 * ms + 1;
  for (const auto& queue : {main, serial}) {
    const Record<Fire> fires;
    const auto timer = dispatch().makeTimer(queue);
    const auto deadlineNs = dispatch().uptimeNanoseconds() + ms;
    timer->setEventHandler(noteFires(fires, dispatch(), *queue));
    timer->schedule(deadlineNs, periodNs, ms / 2);
    timer->resume();
    world->advance(ms + 10 * periodNs + ms / 2);
    ASSERT_TRUE(runUntil([&] { return fires.size() >= 11; }));
    const auto all = fires.all();
    for (std::size_t fire = 0; fire < all.size(); ++fire) {
      EXPECT_GE(all[fire].timeNs, deadlineNs + fire * periodNs) << fire;
      EXPECT_TRUE(all[fire].isOnQueue);
    }
  }
}

TEST_P(DispatchTimerContract, FiresMainTimersOnTheMainThread) {
  const Record<std::thread::id> fires;
  const auto timer = dispatch().makeTimer(main);
  timer->setEventHandler([=] { fires.add(std::this_thread::get_id()); });
  timer->schedule(dispatch().uptimeNanoseconds() + ms, 0, 0);
  timer->resume();
  world->advance(ms);
  ASSERT_TRUE(runUntil([&] { return fires.size() == 1; }));
  EXPECT_EQ(fires.all()[0], std::this_thread::get_id());
}

TEST_P(DispatchTimerContract, FiresAtOnceForADeadlineInThePastAndKeepsToItsGrid) {
  world->advance(10 * ms);
  const Record<Fire> fires;
  const auto timer = dispatch().makeTimer(serial);
  const auto deadlineNs = dispatch().uptimeNanoseconds() - 5 * ms;
  timer->setEventHandler(noteFires(fires, dispatch(), *serial));
  timer->schedule(deadlineNs, 20 * ms, 0);
  timer->resume();
  ASSERT_TRUE(runUntil([&] { return fires.size() >= 1; }));
  world->advance(15 * ms);
  ASSERT_TRUE(runUntil([&] { return fires.size() >= 2; }));
  EXPECT_GE(fires.all()[1].timeNs, deadlineNs + 20 * ms);
}

TEST_P(DispatchTimerContract, FiresOnceWithAnIntervalOfZero) {
  const Record<Fire> fires;
  const auto timer = dispatch().makeTimer(serial);
  timer->setEventHandler(noteFires(fires, dispatch(), *serial));
  timer->schedule(dispatch().uptimeNanoseconds() + ms, 0, 0);
  timer->resume();
  world->advance(ms);
  ASSERT_TRUE(runUntil([&] { return fires.size() == 1; }));
  world->advance(10 * ms);
  EXPECT_EQ(fires.size(), 1U);
}

TEST_P(DispatchTimerContract, StaysSilentUntilItIsResumed) {
  const Record<Fire> fires;
  const auto timer = dispatch().makeTimer(serial);
  timer->setEventHandler(noteFires(fires, dispatch(), *serial));
  timer->schedule(dispatch().uptimeNanoseconds(), ms, 0);
  world->advance(5 * ms);
  EXPECT_EQ(fires.size(), 0U);
  timer->resume();
  EXPECT_TRUE(runUntil([&] { return fires.size() >= 1; }));
}

TEST_P(DispatchTimerContract, FoldsMissedFiresIntoOne) {
  constexpr std::uint64_t periodNs = 2 * ms;
  const Record<Fire> fires;
  const auto timer = dispatch().makeTimer(serial);
  timer->setEventHandler(noteFires(fires, dispatch(), *serial));
  auto busy = world->occupy(serial, label);
  const auto startNs = dispatch().uptimeNanoseconds();
  timer->schedule(startNs, periodNs, 0);
  timer->resume();
  world->advance(20 * periodNs);
  EXPECT_EQ(fires.size(), 0U);
  const auto freeSlot = (dispatch().uptimeNanoseconds() - startNs) / periodNs;
  busy.reset();
  ASSERT_TRUE(runUntil([&] { return fires.size() >= 1; }));
  world->advance(5 * periodNs);
  ASSERT_TRUE(runUntil([&] { return fires.size() >= 5; }));
  // The first makes up for all that were missed; each later one waited for a slot of its own.
  const auto all = fires.all();
  for (std::size_t fire = 1; fire < all.size(); ++fire) {
    EXPECT_GE(all[fire].timeNs, startNs + (freeSlot + fire) * periodNs) << fire;
  }
}

TEST_P(DispatchTimerContract, DoesNotRunAFireThatWaitedWhenItWasCancelled) {
  const Record<Fire> fires;
  const std::shared_ptr<DispatchTimer> timer = dispatch().makeTimer(serial);
  timer->setEventHandler(noteFires(fires, dispatch(), *serial));
  auto busy = world->occupy(serial, label);
  serial->async([=] { timer->cancel(); });
  timer->schedule(dispatch().uptimeNanoseconds(), ms, 0);
  timer->resume();
  world->advance(3 * ms);
  busy.reset();
  world->advance(3 * ms);
  EXPECT_EQ(fires.size(), 0U);
}

TEST_P(DispatchTimerContract, MayBeCancelledByItsHandler) {
  for (const auto& queue : {main, serial}) {
    const Record<int> fires;
    const Record<int> released;
    const std::shared_ptr<DispatchTimer> timer = dispatch().makeTimer(queue);
    auto held = onRelease([=] { released.add(1); });
    timer->setEventHandler([=, held = std::move(held), cancelled = timer.get()] {
      cancelled->cancel();
      fires.add(static_cast<int>(released.size()));
    });
    timer->schedule(dispatch().uptimeNanoseconds(), ms, 0);
    timer->resume();
    ASSERT_TRUE(runUntil([&] { return fires.size() == 1; }));
    // A cancelled timer lets go of its handler, but not of one that is running.
    EXPECT_TRUE(runUntil([&] { return released.size() == 1; }));
    world->advance(3 * ms);
    EXPECT_EQ(fires.all(), std::vector{0});
  }
}

TEST_P(DispatchTimerContract, MayBeDestroyedByItsHandler) {
  for (const auto& queue : {main, serial}) {
    const Record<int> fires;
    const Record<int> released;
    const auto timer =
        std::make_shared<std::unique_ptr<DispatchTimer>>(dispatch().makeTimer(queue));
    auto held = onRelease([=] { released.add(1); });
    (*timer)->setEventHandler([=, held = std::move(held), owner = timer.get()] {
      owner->reset();
      fires.add(static_cast<int>(released.size()));
    });
    (*timer)->schedule(dispatch().uptimeNanoseconds(), ms, 0);
    (*timer)->resume();
    ASSERT_TRUE(runUntil([&] { return fires.size() == 1; }));
    EXPECT_TRUE(runUntil([&] { return released.size() == 1; }));
    world->advance(3 * ms);
    EXPECT_EQ(fires.all(), std::vector{0});
  }
}

TEST_P(DispatchTimerContract, IsCancelledByItsDestruction) {
  const Record<Fire> fires;
  const Record<int> released;
  auto timer = dispatch().makeTimer(serial);
  auto held = onRelease([=] { released.add(1); });
  timer->setEventHandler(
      [held = std::move(held), note = noteFires(fires, dispatch(), *serial)] { note(); });
  timer->schedule(dispatch().uptimeNanoseconds(), ms, 0);
  timer->resume();
  ASSERT_TRUE(runUntil([&] { return fires.size() >= 1; }));
  timer.reset();
  // What had begun may end; the handler goes only then.
  ASSERT_TRUE(runUntil([&] { return released.size() == 1; }));
  const auto byThen = fires.size();
  world->advance(3 * ms);
  EXPECT_EQ(fires.size(), byThen);
}

TEST_P(DispatchTimerContract, LetsGoOfAHandlerThatNeverRan) {
  const Record<int> released;
  auto timer = dispatch().makeTimer(serial);
  auto held = onRelease([=] { released.add(1); });
  timer->setEventHandler([held = std::move(held)] {});
  timer.reset();
  EXPECT_TRUE(runUntil([&] { return released.size() == 1; }));
}

TEST_P(DispatchTimerContract, KeepsItsQueue) {
  const Record<int> fires;
  const auto timer = dispatch().makeTimer(serial);
  serial.reset();
  timer->setEventHandler([=] { fires.add(1); });
  timer->schedule(dispatch().uptimeNanoseconds() + ms, 0, 0);
  timer->resume();
  world->advance(ms);
  EXPECT_TRUE(runUntil([&] { return fires.size() == 1; }));
}

TEST_P(DispatchTimerContract, FiresInTheOrderOfTheDeadlines) {
  const Record<int> order;
  const auto later = dispatch().makeTimer(serial);
  const auto sooner = dispatch().makeTimer(serial);
  const auto nowNs = dispatch().uptimeNanoseconds();
  later->setEventHandler([=] { order.add(2); });
  later->schedule(nowNs + 10 * ms, 0, 0);
  sooner->setEventHandler([=] { order.add(1); });
  sooner->schedule(nowNs + 5 * ms, 0, 0);
  later->resume();
  sooner->resume();
  world->advance(10 * ms);
  ASSERT_TRUE(runUntil([&] { return order.size() == 2; }));
  EXPECT_EQ(order.all(), (std::vector{1, 2}));
}

}  // namespace quorvin::contract
