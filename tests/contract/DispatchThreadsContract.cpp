#include <array>
#include <chrono>
#include <future>
#include <memory>
#include <thread>
#include <vector>

#include "tests/contract/DispatchContract.h"
#include "tests/contract/Record.h"

namespace quorvin::contract {
namespace {

constexpr std::chrono::seconds timeout{20};

// Two tasks that can only end together.
class Meeting {
 public:
  // Whether the other one came.
  bool first() { return meet(firstCame, secondCame); }
  bool second() { return meet(secondCame, firstCame); }

 private:
  static bool meet(std::promise<void>& own, std::promise<void>& other) {
    own.set_value();
    return other.get_future().wait_for(timeout) == std::future_status::ready;
  }

  std::promise<void> firstCame;
  std::promise<void> secondCame;
};

}  // namespace

TEST_P(DispatchThreadsContract, RunsGlobalTasksAtTheSameTime) {
  const Record<bool> met;
  const auto meeting = std::make_shared<Meeting>();
  global->async([=] { met.add(meeting->first()); });
  global->async([=] { met.add(meeting->second()); });
  ASSERT_TRUE(runUntil([&] { return met.size() == 2; }));
  EXPECT_EQ(met.all(), (std::vector{true, true}));
}

TEST_P(DispatchThreadsContract, RunsSerialQueuesAtTheSameTime) {
  const auto other =
      dispatch().makeSerialQueue("com.quorvin.contract.other", QualityOfService::unspecified);
  const Record<bool> met;
  const auto meeting = std::make_shared<Meeting>();
  serial->async([=] { met.add(meeting->first()); });
  other->async([=] { met.add(meeting->second()); });
  ASSERT_TRUE(runUntil([&] { return met.size() == 2; }));
  EXPECT_EQ(met.all(), (std::vector{true, true}));
}

TEST_P(DispatchThreadsContract, RunsNothingButMainTasksOnTheMainThread) {
  const Record<std::thread::id> ran;
  for (const auto& queue : {serial, global}) {
    queue->async([=] { ran.add(std::this_thread::get_id()); });
  }
  ASSERT_TRUE(runUntil([&] { return ran.size() == 2; }));
  for (const auto& thread : ran.all()) EXPECT_NE(thread, std::this_thread::get_id());
}

TEST_P(DispatchThreadsContract, TakesTasksFromManyThreads) {
  const auto sum = std::make_shared<int>(0);  // no lock: the queue is the lock
  const Record<int> sums;
  for (const auto& queue : {main, serial}) {
    *sum = 0;
    const auto known = sums.size();
    std::array<std::thread, 4> senders;
    for (auto& sender : senders) {
      sender = std::thread([=] {
        for (int task = 0; task < 250; ++task) queue->async([=] { ++*sum; });
      });
    }
    for (auto& sender : senders) sender.join();
    queue->async([=] { sums.add(*sum); });
    ASSERT_TRUE(runUntil([&] { return sums.size() > known; }));
  }
  EXPECT_EQ(sums.all(), (std::vector{1000, 1000}));
}

}  // namespace quorvin::contract
