#import "platform/macos/Dispatch.h"

#include <gmock/gmock.h>

#include <atomic>
#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "tests/macos/standin/StandInTest.h"

namespace quorvin {
namespace {

using testing::ElementsAre;

constexpr auto label = "com.example.work";
constexpr std::uint64_t second = 1'000'000'000;

class DispatchTest : public standin::StandInTest {
 protected:
  std::shared_ptr<DispatchQueue> makeQueue() {
    return dispatch.makeSerialQueue(label, QualityOfService::userInteractive);
  }

  MacDispatch dispatch;
};

// Says on which queue it was let go.
std::shared_ptr<int> makeWitness(std::string& lettingGo) {
  return {new int(0), [&lettingGo](const int* number) {
            delete number;
            lettingGo = standin::currentQueueLabel();
          }};
}

class OtherQueue final : public DispatchQueue {
 public:
  void async(Task /*task*/) override {}
  [[nodiscard]] bool isCurrent() const override { return false; }
};

TEST_F(DispatchTest, RunsTheTasksOfASerialQueueInOrder) {
  const auto queue = makeQueue();
  std::vector<int> order;
  for (int number = 0; number < 100; ++number) {
    queue->async([&order, number] { order.push_back(number); });
  }
  standin::settle();
  ASSERT_EQ(order.size(), 100U);
  EXPECT_TRUE(std::ranges::is_sorted(order));
}

TEST_F(DispatchTest, RunsMainTasksOnTheMainThreadAndNeverInsideAsync) {
  std::vector<std::string> steps;
  dispatch.mainQueue()->async([&] {
    EXPECT_TRUE(standin::isMainThread());
    steps.emplace_back("task");
  });
  steps.emplace_back("after async");
  standin::settle();
  EXPECT_THAT(steps, ElementsAre("after async", "task"));
}

TEST_F(DispatchTest, RunsGlobalTasksOffTheMainThread) {
  std::atomic<bool> ran = false;
  dispatch.globalQueue(QualityOfService::userInitiated)->async([&] {
    EXPECT_FALSE(standin::isMainThread());
    ran = true;
  });
  standin::settle();
  EXPECT_TRUE(ran);
}

TEST_F(DispatchTest, KnowsWhichQueueIsCurrent) {
  const auto queue = makeQueue();
  const auto twin = makeQueue();
  const auto main = dispatch.mainQueue();
  const auto global = dispatch.globalQueue(QualityOfService::userInitiated);
  const auto otherGlobal = dispatch.globalQueue(QualityOfService::unspecified);
  const auto answers = [&] {
    return std::vector<bool>{queue->isCurrent(), twin->isCurrent(), main->isCurrent(),
                             global->isCurrent(), otherGlobal->isCurrent()};
  };
  std::vector<bool> onQueue;
  std::vector<bool> onMain;
  std::vector<bool> onGlobal;
  queue->async([&] { onQueue = answers(); });
  main->async([&] { onMain = answers(); });
  global->async([&] { onGlobal = answers(); });
  standin::settle();
  EXPECT_THAT(onQueue, ElementsAre(true, false, false, false, false));
  EXPECT_THAT(onMain, ElementsAre(false, false, true, false, false));
  EXPECT_THAT(onGlobal, ElementsAre(false, false, false, true, false));
  EXPECT_FALSE(queue->isCurrent());
  EXPECT_FALSE(global->isCurrent());
}

TEST_F(DispatchTest, TakesEveryHandleOfTheMainQueueForTheSame) {
  bool isCurrent = false;
  dispatch.mainQueue()->async([&] { isCurrent = MacDispatch().mainQueue()->isCurrent(); });
  standin::settle();
  EXPECT_TRUE(isCurrent);
}

TEST_F(DispatchTest, LetsGoOfATaskOnItsQueueRightAfterIt) {
  const auto queue = makeQueue();
  std::string lettingGo;
  std::string atNextTask;
  queue->async([witness = makeWitness(lettingGo)] {});
  queue->async([&] { atNextTask = lettingGo; });
  standin::settle();
  EXPECT_EQ(lettingGo, label);
  EXPECT_EQ(atNextTask, label);
}

TEST_F(DispatchTest, RunsQueuedTasksAfterTheLastReferenceToTheQueueIsGone) {
  std::vector<int> ran;
  standin::hold(label);
  auto queue = makeQueue();
  queue->async([&] { ran.push_back(1); });
  queue->async([&] { ran.push_back(2); });
  queue.reset();
  standin::resume(label);
  standin::settle();
  EXPECT_THAT(ran, ElementsAre(1, 2));
}

TEST_F(DispatchTest, AsksForTheQualityOfService) {
  (void)dispatch.makeSerialQueue("a", QualityOfService::unspecified);
  (void)dispatch.makeSerialQueue("b", QualityOfService::userInitiated);
  (void)dispatch.makeSerialQueue("c", QualityOfService::userInteractive);
  (void)dispatch.globalQueue(QualityOfService::unspecified);
  (void)dispatch.globalQueue(QualityOfService::userInitiated);
  (void)dispatch.globalQueue(QualityOfService::userInteractive);
  EXPECT_THAT(
      standin::callsOf("dispatch_queue_create"),
      ElementsAre(
          testing::Field(&standin::Call::arguments, ElementsAre("a", "QOS_CLASS_UNSPECIFIED")),
          testing::Field(&standin::Call::arguments, ElementsAre("b", "QOS_CLASS_USER_INITIATED")),
          testing::Field(&standin::Call::arguments,
                         ElementsAre("c", "QOS_CLASS_USER_INTERACTIVE"))));
  EXPECT_THAT(
      standin::callsOf("dispatch_get_global_queue"),
      ElementsAre(
          testing::Field(&standin::Call::arguments, ElementsAre("QOS_CLASS_UNSPECIFIED")),
          testing::Field(&standin::Call::arguments, ElementsAre("QOS_CLASS_USER_INITIATED")),
          testing::Field(&standin::Call::arguments, ElementsAre("QOS_CLASS_USER_INTERACTIVE"))));
}

TEST_F(DispatchTest, HandsOutTheQueueForCallsThatTakeOne) {
  const auto queue = makeQueue();
  const auto handle = static_cast<const MacDispatchQueue&>(*queue).queue();
  EXPECT_STREQ(dispatch_queue_get_label(handle), label);
}

TEST_F(DispatchTest, TellsTheUptime) {
  const auto before = dispatch.uptimeNanoseconds();
  EXPECT_EQ(before, standin::uptime());
  standin::advance(3 * second);
  EXPECT_EQ(dispatch.uptimeNanoseconds(), before + 3 * second);
}

// A timer that writes down when it fired, in seconds since the test began.
class TimerTest : public DispatchTest {
 protected:
  TimerTest() : queue(makeQueue()), timer(dispatch.makeTimer(queue)) {}

  void listen() {
    timer->setEventHandler([this] {
      EXPECT_TRUE(queue->isCurrent());
      fires.push_back((standin::uptime() - start) / second);
    });
  }
  void begin(std::uint64_t firstSecond, std::uint64_t repeatingNs) {
    timer->schedule(start + firstSecond * second, repeatingNs, 0);
    listen();
    timer->resume();
  }

  std::shared_ptr<DispatchQueue> queue;
  std::unique_ptr<DispatchTimer> timer;
  std::uint64_t start = standin::uptime();
  std::vector<std::uint64_t> fires;
};

TEST_F(TimerTest, FiresAtTheDeadlineAndThenAtEveryBeat) {
  begin(6, 2 * second);
  standin::advance(6 * second - 1);
  EXPECT_THAT(fires, ElementsAre());
  standin::advance(1);
  EXPECT_THAT(fires, ElementsAre(6));
  standin::advance(5 * second);
  EXPECT_THAT(fires, ElementsAre(6, 8, 10));
}

TEST_F(TimerTest, HandsTheTimesOnInNanoseconds) {
  timer->schedule(start + 6 * second, second, second / 4);
  EXPECT_THAT(standin::callsOf("dispatch_source_set_timer"),
              ElementsAre(testing::Field(
                  &standin::Call::arguments,
                  ElementsAre(std::to_string(start + 6 * second), "1000000000", "250000000"))));
}

TEST_F(TimerTest, FiresOnceWithoutARepeatingInterval) {
  begin(1, 0);
  standin::advance(10 * second);
  EXPECT_THAT(fires, ElementsAre(1));
}

TEST_F(TimerTest, FiresOnceWithAnEndlessInterval) {
  begin(1, std::numeric_limits<std::uint64_t>::max());
  standin::advance(10 * second);
  EXPECT_THAT(fires, ElementsAre(1));
}

TEST_F(TimerTest, FiresAtOnceForADeadlineInThePastAndKeepsItsBeat) {
  standin::advance(5 * second);
  begin(2, 2 * second);
  standin::settle();
  EXPECT_THAT(fires, ElementsAre(5));
  standin::advance(2 * second);
  EXPECT_THAT(fires, ElementsAre(5, 6));
}

TEST_F(TimerTest, FiresAtOnceForADeadlineBeforeTheClockBegan) {
  timer->schedule(0, 0, 0);
  listen();
  timer->resume();
  standin::settle();
  EXPECT_THAT(fires, ElementsAre(0));
}

TEST_F(TimerTest, NeverFiresForTheFarthestDeadline) {
  timer->schedule(std::numeric_limits<std::uint64_t>::max(), second, 0);
  listen();
  timer->resume();
  standin::advance(1000 * second);
  EXPECT_THAT(fires, ElementsAre());
}

TEST_F(TimerTest, FoldsMissedFiresIntoOne) {
  standin::hold(label);
  begin(1, second);
  standin::advance(5 * second);
  standin::resume(label);
  standin::settle();
  EXPECT_THAT(fires, ElementsAre(5));
}

TEST_F(TimerTest, DoesNothingBeforeItIsResumed) {
  timer->schedule(start + second, second, 0);
  listen();
  standin::advance(3 * second);
  EXPECT_THAT(fires, ElementsAre());
}

TEST_F(TimerTest, DoesNothingAfterItIsCancelled) {
  begin(1, second);
  standin::advance(second);
  queue->async([this] { timer->cancel(); });
  standin::advance(5 * second);
  EXPECT_THAT(fires, ElementsAre(1));
}

TEST_F(TimerTest, IsCancelledByItsHandler) {
  timer->schedule(start + second, second, 0);
  timer->setEventHandler([this] {
    fires.push_back(0);
    timer->cancel();
  });
  timer->resume();
  standin::advance(5 * second);
  EXPECT_THAT(fires, ElementsAre(0));
}

TEST_F(TimerTest, DoesNothingAfterItIsGone) {
  begin(1, second);
  standin::advance(second);
  timer.reset();
  standin::advance(5 * second);
  EXPECT_THAT(fires, ElementsAre(1));
}

TEST_F(TimerTest, LetsGoOfItsHandlerOnItsQueueOnceItIsGone) {
  std::string lettingGo;
  timer->schedule(start + second, second, 0);
  timer->setEventHandler([witness = makeWitness(lettingGo)] {});
  timer->resume();
  standin::advance(second);
  EXPECT_EQ(lettingGo, "");
  timer.reset();
  standin::settle();
  EXPECT_EQ(lettingGo, label);
}

TEST_F(TimerTest, CanBeLetGoBeforeItWasEverResumed) {
  timer->schedule(start + second, second, 0);
  listen();
  timer.reset();
  standin::advance(5 * second);
  EXPECT_THAT(fires, ElementsAre());
}

TEST_F(TimerTest, FiresOnTheMainQueueToo) {
  timer = dispatch.makeTimer(dispatch.mainQueue());
  timer->schedule(start + second, 0, 0);
  bool isOnMainThread = false;
  timer->setEventHandler([&] { isOnMainThread = standin::isMainThread(); });
  timer->resume();
  standin::advance(second);
  EXPECT_TRUE(isOnMainThread);
}

TEST(DispatchDeathTest, WantsAQueueOfItsOwnKindForATimer) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH((void)MacDispatch().makeTimer(std::make_shared<OtherQueue>()),
               "queue of another maker");
  EXPECT_DEATH((void)MacDispatch().makeTimer(nullptr), "queue of another maker");
}

}  // namespace
}  // namespace quorvin
