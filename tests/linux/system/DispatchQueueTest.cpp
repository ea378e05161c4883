#include <gtest/gtest.h>
#include <pthread.h>

#include <array>
#include <atomic>
#include <filesystem>
#include <iterator>
#include <memory>
#include <numeric>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/linux/dispatch/Dispatch.h"
#include "tests/linux/system/Latch.h"
#include "tests/linux/system/MainLoop.h"

namespace quorvin {
namespace {

constexpr auto qos = QualityOfService::unspecified;

std::vector<int> numbersBelow(int end) {
  std::vector<int> numbers(static_cast<std::size_t>(end));
  std::iota(numbers.begin(), numbers.end(), 0);
  return numbers;
}

std::string threadName() {
  std::array<char, 16> name{};
  pthread_getname_np(pthread_self(), name.data(), name.size());
  return name.data();
}

std::ptrdiff_t threadCount() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/task"), {});
}

TEST(MainQueue, RunsTasksOnTheMainThreadInTheOrderGivenAndNeverInsideAsync) {
  LinuxDispatch dispatch;
  std::vector<int> ran;
  for (const int number : numbersBelow(100)) {
    dispatch.mainQueue()->async([&ran, number] { ran.push_back(number); });
  }
  EXPECT_TRUE(ran.empty());
  EXPECT_TRUE(runMainLoopUntil([&] { return ran.size() == 100; }));
  EXPECT_EQ(ran, numbersBelow(100));
}

TEST(MainQueue, TakesTasksFromOtherThreadsWhileTheLoopSleeps) {
  LinuxDispatch dispatch;
  auto main = dispatch.mainQueue();
  std::vector<int> ran;  // no lock: the hand-over itself has to order the accesses
  auto queue = dispatch.makeSerialQueue("test.sender", qos);
  for (const int number : numbersBelow(1000)) {
    queue->async([&ran, main, number] { main->async([&ran, number] { ran.push_back(number); }); });
  }
  while (ran.size() < 1000) g_main_context_iteration(nullptr, TRUE);
  EXPECT_EQ(ran, numbersBelow(1000));
}

TEST(MainQueue, IsCurrentOnTheMainThreadOnly) {
  LinuxDispatch dispatch;
  auto main = dispatch.mainQueue();
  EXPECT_TRUE(main->isCurrent());
  bool elsewhere = true;
  std::thread([&] { elsewhere = main->isCurrent(); }).join();
  EXPECT_FALSE(elsewhere);
}

// A task that always brings the next one, beside an idle source: what GTK draws with.
TEST(MainQueue, LeavesOtherSourcesTheirTurnDuringAFloodOfTasks) {
  LinuxDispatch dispatch;
  auto main = dispatch.mainQueue();
  bool idleRan = false;
  int flooded = 0;
  Task flood = [&] {
    ++flooded;
    if (!idleRan && flooded < 10'000) main->async(flood);
  };
  main->async(flood);
  g_idle_add(
      [](gpointer flag) -> gboolean {
        *static_cast<bool*>(flag) = true;
        return G_SOURCE_REMOVE;
      },
      &idleRan);
  EXPECT_TRUE(runMainLoopUntil([&] { return idleRan; }));
  EXPECT_LT(flooded, 10);
}

TEST(MainQueue, DropsTheTasksThatAreLeftAtTheEnd) {
  auto dispatch = std::make_unique<LinuxDispatch>();
  auto main = dispatch->mainQueue();
  auto held = std::make_shared<int>(1);
  bool ran = false;
  main->async([held, &ran] { ran = true; });
  dispatch.reset();
  EXPECT_EQ(held.use_count(), 1);
  main->async([held, &ran] { ran = true; });
  EXPECT_EQ(held.use_count(), 1);
  while (g_main_context_iteration(nullptr, FALSE) != FALSE) {
  }
  EXPECT_FALSE(ran);
}

TEST(SerialQueue, RunsTasksOneAtATimeInTheOrderGiven) {
  LinuxDispatch dispatch;
  auto queue = dispatch.makeSerialQueue("com.quorvin.support.capture", qos);
  std::vector<int> ran;  // no lock: the queue is the lock
  for (const int number : numbersBelow(1000)) {
    queue->async([&ran, number] { ran.push_back(number); });
  }
  Latch done;
  queue->async([&] { done.hit(); });
  ASSERT_TRUE(done.waitForHits(1));
  EXPECT_EQ(ran, numbersBelow(1000));
}

TEST(SerialQueue, RunsTheTasksOfManyThreads) {
  LinuxDispatch dispatch;
  auto queue = dispatch.makeSerialQueue("test.many", qos);
  int sum = 0;
  std::array<std::thread, 4> senders;
  for (auto& sender : senders) {
    sender = std::thread([&] {
      for (int round = 0; round < 1000; ++round) queue->async([&sum] { ++sum; });
    });
  }
  for (auto& sender : senders) sender.join();
  dispatch.finish();
  EXPECT_EQ(sum, 4000);
}

TEST(SerialQueue, NamesItsThreadAfterTheLastPartOfTheLabel) {
  LinuxDispatch dispatch;
  std::string dotted;
  std::string plain;
  dispatch.makeSerialQueue("com.quorvin.support.capture", qos)->async([&] {
    dotted = threadName();
  });
  dispatch.makeSerialQueue("a name of many letters", QualityOfService::userInteractive)->async([&] {
    plain = threadName();
  });
  dispatch.finish();
  EXPECT_EQ(dotted, "capture");
  EXPECT_EQ(plain, "a name of many ");
}

TEST(SerialQueue, IsCurrentInItsOwnTasksOnly) {
  LinuxDispatch dispatch;
  auto queue = dispatch.makeSerialQueue("test.own", qos);
  auto other = dispatch.makeSerialQueue("test.other", qos);
  bool own = false;
  bool others = true;
  bool main = true;
  bool global = true;
  queue->async([&] {
    own = queue->isCurrent();
    others = other->isCurrent();
    main = dispatch.mainQueue()->isCurrent();
    global = dispatch.globalQueue(qos)->isCurrent();
  });
  dispatch.finish();
  EXPECT_TRUE(own);
  EXPECT_FALSE(others);
  EXPECT_FALSE(main);
  EXPECT_FALSE(global);
  EXPECT_FALSE(queue->isCurrent());
}

TEST(SerialQueue, RunsQueuedTasksAfterTheLastReferenceIsGone) {
  LinuxDispatch dispatch;
  auto queue = dispatch.makeSerialQueue("test.forgotten", qos);
  Latch released;
  Latch ran;
  queue->async([&] { EXPECT_TRUE(released.waitForHits(1)); });
  for (int task = 0; task < 10; ++task) queue->async([&] { ran.hit(); });
  queue.reset();
  released.hit();
  EXPECT_TRUE(ran.waitForHits(10));
}

TEST(SerialQueue, RunsQueuedTasksWhenATaskOfItsOwnDropsTheLastReference) {
  LinuxDispatch dispatch;
  auto queue = dispatch.makeSerialQueue("test.self", qos);
  const std::weak_ptr<DispatchQueue> watched = queue;
  Latch handedOver;
  Latch ran;
  auto& direct = *queue;
  direct.async([&, held = queue]() mutable {
    EXPECT_TRUE(handedOver.waitForHits(1));
    held.reset();
    EXPECT_TRUE(watched.expired());
  });
  direct.async([&] { ran.hit(); });
  direct.async([&] { ran.hit(); });
  queue.reset();
  handedOver.hit();
  EXPECT_TRUE(ran.waitForHits(2));
}

TEST(SerialQueue, ReleasesATaskOnItsOwnThreadBeforeTheNextOneRuns) {
  LinuxDispatch dispatch;
  auto queue = dispatch.makeSerialQueue("test.release", qos);
  auto held = std::make_shared<int>(1);
  const std::weak_ptr<int> watched = held;
  bool released = false;
  queue->async([held = std::move(held)] {});
  queue->async([&] { released = watched.expired(); });
  dispatch.finish();
  EXPECT_TRUE(released);
}

TEST(GlobalQueue, RunsTasksAtTheSameTime) {
  LinuxDispatch dispatch;
  auto queue = dispatch.globalQueue(QualityOfService::userInitiated);
  Latch met;
  std::atomic<int> togetherCount = 0;
  for (int task = 0; task < 3; ++task) {
    queue->async([&] {
      met.hit();
      if (met.waitForHits(3)) ++togetherCount;
    });
  }
  dispatch.finish();
  EXPECT_EQ(togetherCount, 3);
}

TEST(GlobalQueue, IsTheSameForEverybodyAndCurrentInItsTasks) {
  LinuxDispatch dispatch;
  auto queue = dispatch.globalQueue(qos);
  EXPECT_EQ(queue, dispatch.globalQueue(qos));
  bool inside = false;
  queue->async([&] { inside = queue->isCurrent(); });
  dispatch.finish();
  EXPECT_TRUE(inside);
  EXPECT_FALSE(queue->isCurrent());
}

TEST(LinuxDispatch, FinishRunsWhatWasQueuedAndDropsWhatComesLater) {
  LinuxDispatch dispatch;
  auto queue = dispatch.makeSerialQueue("test.finish", qos);
  auto main = dispatch.mainQueue();
  std::vector<int> ran;
  bool mainRan = false;
  for (const int number : numbersBelow(100)) {
    queue->async([&, number] {
      ran.push_back(number);
      main->async([&] { mainRan = true; });
    });
  }
  dispatch.finish();
  EXPECT_EQ(ran, numbersBelow(100));
  queue->async([&] { ran.push_back(-1); });
  dispatch.globalQueue(qos)->async([&] { ran.push_back(-2); });
  dispatch.finish();
  EXPECT_EQ(ran.size(), 100U);
  EXPECT_FALSE(mainRan);
  EXPECT_TRUE(runMainLoopUntil([&] { return mainRan; }));
}

TEST(LinuxDispatch, FinishDoesNotWaitForATaskThatKeepsQueueingItself) {
  LinuxDispatch dispatch;
  auto queue = dispatch.makeSerialQueue("test.forever", qos);
  Latch ran;
  Task again = [&] {
    ran.hit();
    queue->async(again);
  };
  queue->async(again);
  ASSERT_TRUE(ran.waitForHits(2));
  dispatch.finish();
  const int byThen = ran.count();
  queue->async(again);
  EXPECT_EQ(ran.count(), byThen);
}

TEST(LinuxDispatch, JoinsEverythingWhenDestroyedWithReferencesLeft) {
  std::shared_ptr<DispatchQueue> queue;
  std::unique_ptr<DispatchTimer> timer;
  int ran = 0;
  {
    LinuxDispatch dispatch;
    queue = dispatch.makeSerialQueue("test.outlives", qos);
    timer = dispatch.makeTimer(queue);
    timer->setEventHandler([] {});
    timer->schedule(dispatch.uptimeNanoseconds() + 3'600'000'000'000U, 0, 0);
    timer->resume();
    queue->async([&] { ++ran; });
  }
  EXPECT_EQ(ran, 1);
  queue->async([&] { ++ran; });
  timer->cancel();
  EXPECT_EQ(ran, 1);
}

// One thread a session would be a leak that only shows after days.
TEST(LinuxDispatch, LetsTheThreadsOfForgottenQueuesGo) {
  LinuxDispatch dispatch;
  const auto runQueue = [&dispatch] {
    Latch ran;
    dispatch.makeSerialQueue("test.session", qos)->async([&] { ran.hit(); });
    return ran.waitForHits(1);
  };
  // The first thread may bring along one of a sanitizer's, which stays.
  ASSERT_TRUE(runQueue());
  const auto before = threadCount();
  for (int session = 0; session < 50; ++session) ASSERT_TRUE(runQueue());
  EXPECT_TRUE(runMainLoopUntil([&] { return threadCount() <= before; }));
}

TEST(LinuxDispatchDeathTest, RefusesATimerOnTheGlobalQueue) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  EXPECT_DEATH(
      {
        LinuxDispatch dispatch;
        (void)dispatch.makeTimer(dispatch.globalQueue(qos));
      },
      "A timer needs the main queue or a serial queue");
}

}  // namespace
}  // namespace quorvin
