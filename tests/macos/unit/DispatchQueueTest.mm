#import <dispatch/dispatch.h>

#include <gmock/gmock.h>

#include <atomic>
#include <string>
#include <vector>

#include "tests/macos/standin/StandInTest.h"

namespace {

class DispatchQueue : public standin::StandInTest {
 protected:
  dispatch_queue_t makeQueue(const char* label) {
    return dispatch_queue_create(label, DISPATCH_QUEUE_SERIAL);
  }

  std::vector<int> order;
};

TEST_F(DispatchQueue, SerialQueueRunsTasksInOrderOffTheMainThread) {
  dispatch_queue_t queue = makeQueue("serial");
  for (int number = 0; number < 100; ++number) {
    dispatch_async(queue, ^{
      order.push_back(number);
      EXPECT_FALSE(standin::isMainThread());
      EXPECT_EQ(standin::currentQueueLabel(), "serial");
    });
  }
  standin::settle();
  ASSERT_EQ(order.size(), 100U);
  EXPECT_TRUE(std::is_sorted(order.begin(), order.end()));
}

TEST_F(DispatchQueue, MainQueueRunsTasksWhenTheTestSettlesAndNotBefore) {
  dispatch_async(dispatch_get_main_queue(), ^{
    order.push_back(1);
    EXPECT_TRUE(standin::isMainThread());
    EXPECT_EQ(standin::currentQueueLabel(), "com.apple.main-thread");
  });
  EXPECT_THAT(order, testing::IsEmpty());
  standin::settle();
  EXPECT_THAT(order, testing::ElementsAre(1));
  EXPECT_EQ(standin::currentQueueLabel(), "");
}

TEST_F(DispatchQueue, SettleWaitsForChainsAcrossQueues) {
  dispatch_queue_t first = makeQueue("first");
  dispatch_queue_t second = makeQueue("second");
  dispatch_async(first, ^{
    dispatch_async(dispatch_get_main_queue(), ^{
      dispatch_async(second, ^{
        dispatch_async(dispatch_get_global_queue(QOS_CLASS_UTILITY, 0), ^{
          dispatch_async(dispatch_get_main_queue(), ^{
            order.push_back(1);
          });
        });
      });
    });
  });
  standin::settle();
  EXPECT_THAT(order, testing::ElementsAre(1));
}

TEST_F(DispatchQueue, SyncRunsOnTheCallingThreadBehindEarlierTasks) {
  dispatch_queue_t queue = makeQueue("serial");
  for (int number = 0; number < 10; ++number) {
    dispatch_async(queue, ^{
      order.push_back(number);
    });
  }
  dispatch_sync(queue, ^{
    order.push_back(10);
    EXPECT_TRUE(standin::isMainThread());
    EXPECT_EQ(standin::currentQueueLabel(), "serial");
  });
  EXPECT_EQ(order.size(), 11U);
  EXPECT_EQ(order.back(), 10);
}

TEST_F(DispatchQueue, SyncOntoTheMainQueueRunsOnTheMainThread) {
  dispatch_async(makeQueue("serial"), ^{
    dispatch_sync(dispatch_get_main_queue(), ^{
      EXPECT_TRUE(standin::isMainThread());
      order.push_back(1);
    });
    order.push_back(2);
  });
  standin::settle();
  EXPECT_THAT(order, testing::ElementsAre(1, 2));
}

TEST_F(DispatchQueue, SyncOntoItsOwnQueueIsAViolation) {
  dispatch_queue_t queue = makeQueue("serial");
  dispatch_sync(queue, ^{
    dispatch_sync(queue, ^{
      ADD_FAILURE() << "ran";
    });
  });
  dispatch_sync(dispatch_get_main_queue(), ^{
    ADD_FAILURE() << "ran";
  });
  EXPECT_THAT(standin::takeViolations(), testing::SizeIs(2));
}

TEST_F(DispatchQueue, HeldQueueKeepsItsTasksUntilItIsResumed) {
  dispatch_queue_t held = makeQueue("held");
  standin::hold("held");
  dispatch_async(held, ^{
    order.push_back(2);
  });
  dispatch_async(makeQueue("free"), ^{
    order.push_back(1);
  });
  standin::settle();
  EXPECT_THAT(order, testing::ElementsAre(1));
  standin::resume("held");
  standin::settle();
  EXPECT_THAT(order, testing::ElementsAre(1, 2));
}

TEST_F(DispatchQueue, HeldLabelHoldsQueuesMadeLaterAndGlobalOnes) {
  standin::hold("later");
  standin::hold("com.apple.root.utility-qos");
  dispatch_async(makeQueue("later"), ^{
    order.push_back(1);
  });
  dispatch_async(dispatch_get_global_queue(QOS_CLASS_UTILITY, 0), ^{
    order.push_back(2);
  });
  standin::settle();
  EXPECT_THAT(order, testing::IsEmpty());
  standin::resume("later");
  standin::settle();
  standin::resume("com.apple.root.utility-qos");
  standin::settle();
  EXPECT_THAT(order, testing::ElementsAre(1, 2));
}

TEST_F(DispatchQueue, QualityOfServiceIsKeptAndRecorded) {
  dispatch_queue_t queue =
      dispatch_queue_create("fast", dispatch_queue_attr_make_with_qos_class(
                                        DISPATCH_QUEUE_SERIAL, QOS_CLASS_USER_INTERACTIVE, 0));
  EXPECT_EQ(dispatch_queue_get_qos_class(queue, nullptr), QOS_CLASS_USER_INTERACTIVE);
  EXPECT_STREQ(dispatch_queue_get_label(queue), "fast");
  EXPECT_THAT(standin::callsOf("dispatch_queue_create")[0].arguments,
              testing::ElementsAre("fast", "QOS_CLASS_USER_INTERACTIVE"));
}

TEST_F(DispatchQueue, SpecificValuesBelongToTheRunningQueue) {
  static char key = 0;
  int value = 0;
  dispatch_queue_t queue = makeQueue("serial");
  dispatch_queue_set_specific(queue, &key, &value, nullptr);
  EXPECT_EQ(dispatch_get_specific(&key), nullptr);
  EXPECT_EQ(dispatch_queue_get_specific(queue, &key), &value);
  void* expected = &value;
  dispatch_async(queue, ^{
    EXPECT_EQ(dispatch_get_specific(&key), expected);
    dispatch_assert_queue(queue);
  });
  standin::settle();
}

TEST_F(DispatchQueue, AssertionOnTheWrongQueueIsAViolation) {
  dispatch_assert_queue(makeQueue("serial"));
  dispatch_assert_queue(dispatch_get_main_queue());
  dispatch_assert_queue_not(dispatch_get_main_queue());
  EXPECT_THAT(standin::takeViolations(), testing::SizeIs(2));
}

TEST_F(DispatchQueue, TasksRunAfterTheQueuesLastReferenceIsGone) {
  const auto before = standin::liveObjects();
  dispatch_async(makeQueue("serial"), ^{
    order.push_back(1);
  });
  standin::settle();
  EXPECT_THAT(order, testing::ElementsAre(1));
  EXPECT_LE(standin::liveObjects(), before);
}

TEST_F(DispatchQueue, TaskLetsGoOfWhatItHeldOnItsQueue) {
  __weak NSObject* weak = nil;
  {
    NSObject* object = [NSObject new];
    weak = object;
    dispatch_async(makeQueue("serial"), ^{
      EXPECT_NE(object, nil);
    });
  }
  standin::settle();
  EXPECT_EQ(weak, nil);
}

TEST_F(DispatchQueue, EveryTaskHasAnAutoreleasePool) {
  __block __weak NSObject* weak = nil;
  dispatch_async(dispatch_get_main_queue(), ^{
    id __autoreleasing object = [NSObject new];
    weak = object;
  });
  dispatch_async(dispatch_get_main_queue(), ^{
    EXPECT_EQ(weak, nil);
  });
  standin::settle();
}

TEST_F(DispatchQueue, GlobalQueueRunsTasksAtTheSameTime) {
  dispatch_semaphore_t semaphore = dispatch_semaphore_create(0);
  dispatch_queue_t queue = dispatch_get_global_queue(QOS_CLASS_DEFAULT, 0);
  std::atomic<int> done = 0;
  auto* count = &done;
  dispatch_async(queue, ^{
    dispatch_semaphore_wait(semaphore, DISPATCH_TIME_FOREVER);
    ++*count;
  });
  dispatch_async(queue, ^{
    dispatch_semaphore_signal(semaphore);
  });
  standin::settle();
  EXPECT_EQ(done, 1);
}

TEST_F(DispatchQueue, ThreadThatWaitsForTheTestDoesNotKeepItFromSettling) {
  dispatch_semaphore_t semaphore = dispatch_semaphore_create(0);
  dispatch_async(makeQueue("serial"), ^{
    dispatch_semaphore_wait(semaphore, DISPATCH_TIME_FOREVER);
    order.push_back(1);
  });
  standin::settle();
  EXPECT_THAT(order, testing::IsEmpty());
  dispatch_semaphore_signal(semaphore);
  standin::settle();
  EXPECT_THAT(order, testing::ElementsAre(1));
}

TEST_F(DispatchQueue, OnceRunsOnceOnSeveralThreads) {
  static dispatch_once_t predicate;
  predicate = 0;
  std::atomic<int> runs = 0;
  auto* count = &runs;
  for (int index = 0; index < 4; ++index) {
    dispatch_async(dispatch_get_global_queue(QOS_CLASS_DEFAULT, 0), ^{
      dispatch_once(&predicate, ^{
        ++*count;
      });
    });
  }
  standin::settle();
  EXPECT_EQ(runs, 1);
}

TEST_F(DispatchQueue, RunLoopGoesOnInStepsOfTheTestUntilItIsDone) {
  bool isDone = false;
  int steps = 0;
  standin::runMainUntil([&isDone] { return isDone; },
                        [&] {
                          auto* done = &isDone;
                          if (++steps == 3) {
                            dispatch_async(dispatch_get_main_queue(), ^{
                              *done = true;
                            });
                          }
                        });
  EXPECT_EQ(steps, 3);
}

TEST_F(DispatchQueue, QueueThatOutlivesATestIsReported) {
  dispatch_queue_t queue = makeQueue("left over");
  standin::resetThreads();
  EXPECT_THAT(standin::takeViolations(),
              testing::ElementsAre("a dispatch queue outlived the test: left over"));
  EXPECT_NE(queue, nil);
}

}  // namespace
