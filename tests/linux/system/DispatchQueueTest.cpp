#include <gtest/gtest.h>
#include <pthread.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <memory>
#include <numeric>
#include <string>
#include <thread>
#include <vector>

#include "platform/Error.h"
#include "platform/linux/dispatch/Dispatch.h"
#include "tests/linux/system/ForbidThreads.h"
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

TEST(LinuxDispatchDeathTest, DoesWithTheThreadsItHasWhenThereAreNoMore) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  const auto use = [] {
    LinuxDispatch dispatch;
    forbidThreads();
    Latch ran;
    for (int task = 0; task < 3; ++task) dispatch.globalQueue(qos)->async([&] { ran.hit(); });
    try {
      (void)dispatch.makeSerialQueue("test.more", qos);
    } catch (const Error& error) {
      std::fprintf(stderr, "%s\n", error.localizedDescription.c_str());
    }
    std::_Exit(ran.waitForHits(3) ? 0 : 1);
  };
  EXPECT_EXIT(use(), testing::ExitedWithCode(0), "^A thread could not be made: [^\n]*\\.\n$");
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
