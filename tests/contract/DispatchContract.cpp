#include "tests/contract/DispatchContract.h"

#include <numeric>
#include <string>
#include <thread>
#include <vector>

#include "tests/contract/OnRelease.h"
#include "tests/contract/Record.h"

namespace quorvin::contract {
namespace {

thread_local bool isInsideAsync = false;

std::vector<int> numbersBelow(int end) {
  std::vector<int> numbers(static_cast<std::size_t>(end));
  std::iota(numbers.begin(), numbers.end(), 0);
  return numbers;
}

}  // namespace

TEST_P(DispatchContract, RunsNoTaskInsideAsync) {
  for (const auto& queue : {main, serial, global}) {
    const Record<bool> ranInside;
    isInsideAsync = true;
    queue->async([=] { ranInside.add(isInsideAsync); });
    isInsideAsync = false;
    ASSERT_TRUE(runUntil([&] { return ranInside.size() == 1; }));
    EXPECT_EQ(ranInside.all(), std::vector<bool>{false});
  }
}

TEST_P(DispatchContract, RunsTheTasksOfMainAndSerialQueuesInTheOrderGiven) {
  for (const auto& queue : {main, serial}) {
    const Record<int> ran;
    for (const int number : numbersBelow(200)) queue->async([=] { ran.add(number); });
    ASSERT_TRUE(runUntil([&] { return ran.size() == 200; }));
    EXPECT_EQ(ran.all(), numbersBelow(200));
  }
}

TEST_P(DispatchContract, RunsTheTasksOfASerialQueueOneAtATime) {
  const Record<int> ran;
  const auto unguarded = std::make_shared<int>(0);  // the queue is the lock
  for (int task = 0; task < 200; ++task) {
    global->async([=, queue = serial] { queue->async([=] { ran.add((*unguarded)++); }); });
  }
  ASSERT_TRUE(runUntil([&] { return ran.size() == 200; }));
  EXPECT_EQ(ran.all(), numbersBelow(200));
}

TEST_P(DispatchContract, RunsMainTasksOnTheMainThread) {
  const Record<std::thread::id> ran;
  const auto note = [=] {
    ran.add(std::this_thread::get_id());
  };
  main->async(note);
  serial->async([=, queue = main] { queue->async(note); });
  global->async([=, queue = main] { queue->async(note); });
  ASSERT_TRUE(runUntil([&] { return ran.size() == 3; }));
  EXPECT_EQ(ran.all(), std::vector(3, std::this_thread::get_id()));
}

TEST_P(DispatchContract, RunsTheTasksOfAGlobalQueueOfEachQuality) {
  const Record<int> ran;
  for (const auto qos : {QualityOfService::unspecified, QualityOfService::userInitiated,
                         QualityOfService::userInteractive}) {
    for (int task = 0; task < 20; ++task) {
      dispatch().globalQueue(qos)->async([=] { ran.add(task); });
    }
  }
  EXPECT_TRUE(runUntil([&] { return ran.size() == 60; }));
}

TEST_P(DispatchContract, KnowsTheQueueThatATaskRunsOn) {
  const auto other =
      dispatch().makeSerialQueue("com.quorvin.contract.other", QualityOfService::unspecified);
  const std::vector queues{main, serial, other, global};
  for (std::size_t index = 0; index < queues.size(); ++index) {
    const Record<std::vector<bool>> seen;
    queues[index]->async([=] {
      std::vector<bool> current;
      for (const auto& queue : queues) current.push_back(queue->isCurrent());
      seen.add(current);
    });
    ASSERT_TRUE(runUntil([&] { return seen.size() == 1; }));
    std::vector<bool> expected(queues.size(), false);
    expected[index] = true;
    EXPECT_EQ(seen.all()[0], expected) << index;
  }
  EXPECT_FALSE(serial->isCurrent());
  EXPECT_FALSE(global->isCurrent());
}

TEST_P(DispatchContract, KnowsSerialQueuesOfOneLabelApart) {
  const auto twin = dispatch().makeSerialQueue(label, QualityOfService::userInteractive);
  const Record<bool> seen;
  serial->async([=] { seen.add(twin->isCurrent()); });
  ASSERT_TRUE(runUntil([&] { return seen.size() == 1; }));
  EXPECT_EQ(seen.all(), std::vector{false});
}

TEST_P(DispatchContract, TakesTasksFromItsTasks) {
  for (const auto& queue : {main, serial}) {
    const Record<std::string> order;
    queue->async([=] {
      queue->async([=] {
        queue->async([=] { order.add("third"); });
        order.add("second");
      });
      order.add("first");
    });
    ASSERT_TRUE(runUntil([&] { return order.size() == 3; }));
    EXPECT_EQ(order.all(), (std::vector<std::string>{"first", "second", "third"}));
  }
}

TEST_P(DispatchContract, LetsGoOfATaskOnItsQueueBeforeTheNextOneRuns) {
  for (const auto& queue : {main, serial}) {
    const Record<std::string> order;
    auto held = onRelease([=, watched = queue.get()] {
      order.add(watched->isCurrent() ? "released on its queue" : "released elsewhere");
    });
    queue->async([held = std::move(held)] {});
    queue->async([=] { order.add("next"); });
    ASSERT_TRUE(runUntil([&] { return order.size() == 2; }));
    EXPECT_EQ(order.all(), (std::vector<std::string>{"released on its queue", "next"}));
  }
}

TEST_P(DispatchContract, LetsGoOfAGlobalTaskOnItsQueue) {
  const Record<bool> onQueue;
  auto held = onRelease([=, watched = global.get()] { onQueue.add(watched->isCurrent()); });
  global->async([held = std::move(held)] {});
  ASSERT_TRUE(runUntil([&] { return onQueue.size() == 1; }));
  EXPECT_EQ(onQueue.all(), std::vector{true});
}

TEST_P(DispatchContract, RunsWhatIsQueuedAfterTheLastReferenceToASerialQueueIsGone) {
  const Record<int> ran;
  auto busy = world->occupy(serial, label);
  for (const int number : numbersBelow(10)) serial->async([=] { ran.add(number); });
  serial.reset();
  busy.reset();
  ASSERT_TRUE(runUntil([&] { return ran.size() == 10; }));
  EXPECT_EQ(ran.all(), numbersBelow(10));
}

TEST_P(DispatchContract, RunsWhatIsQueuedWhenATaskDropsTheLastReferenceToItsQueue) {
  const Record<int> ran;
  const auto own = std::make_shared<std::shared_ptr<DispatchQueue>>();
  auto busy = world->occupy(serial, label);
  serial->async([=] {
    own->reset();
    ran.add(1);
  });
  serial->async([=] { ran.add(2); });
  *own = std::move(serial);
  busy.reset();
  EXPECT_TRUE(runUntil([&] { return ran.size() == 2; }));
}

TEST_P(DispatchContract, HasAClockThatRunsWithTimeAndNeverGoesBack) {
  const Record<std::uint64_t> times;
  for (int round = 0; round < 3; ++round) {
    const auto before = dispatch().uptimeNanoseconds();
    const auto known = times.size();
    serial->async([=, clock = &dispatch()] { times.add(clock->uptimeNanoseconds()); });
    ASSERT_TRUE(runUntil([&] { return times.size() > known; }));
    EXPECT_GE(times.all().back(), before);
    world->advance(2 * ms);
    EXPECT_GE(dispatch().uptimeNanoseconds(), before + 2 * ms);
    EXPECT_GE(dispatch().uptimeNanoseconds(), times.all().back());
  }
}

}  // namespace quorvin::contract
