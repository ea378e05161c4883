#import <dispatch/dispatch.h>

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "tests/macos/standin/StandInTest.h"

namespace {

constexpr auto violationOfInactive = "BUG IN CLIENT OF LIBDISPATCH: Release of an inactive object";

class DispatchTimer : public standin::StandInTest {
 protected:
  dispatch_source_t makeTimer() {
    dispatch_source_t timer =
        dispatch_source_create(DISPATCH_SOURCE_TYPE_TIMER, 0, 0, dispatch_get_main_queue());
    dispatch_source_set_event_handler(timer, ^{
      fires.push_back(standin::uptime() - start);
    });
    return timer;
  }
  void set(dispatch_source_t timer, std::int64_t delay, std::uint64_t interval) {
    dispatch_source_set_timer(timer, dispatch_time(DISPATCH_TIME_NOW, delay), interval, 1);
  }

  const std::uint64_t start = standin::uptime();
  std::vector<std::uint64_t> fires;
};

TEST_F(DispatchTimer, FiresOnItsBeatWhileTheClockMoves) {
  dispatch_source_t timer = makeTimer();
  set(timer, 100, 40);
  dispatch_resume(timer);
  standin::advance(99);
  EXPECT_THAT(fires, testing::IsEmpty());
  standin::advance(101);
  EXPECT_THAT(fires, testing::ElementsAre(100, 140, 180));
  dispatch_source_cancel(timer);
}

TEST_F(DispatchTimer, WithoutIntervalFiresOnce) {
  dispatch_source_t timer = makeTimer();
  set(timer, 10, DISPATCH_TIME_FOREVER);
  dispatch_resume(timer);
  standin::advance(1000);
  EXPECT_THAT(fires, testing::ElementsAre(10));
  dispatch_source_cancel(timer);
}

TEST_F(DispatchTimer, FoldsMissedFiresIntoOneAndKeepsTheBeat) {
  dispatch_source_t timer = makeTimer();
  set(timer, 10, 10);
  dispatch_resume(timer);
  standin::advance(10);
  dispatch_suspend(timer);
  standin::advance(35);
  dispatch_resume(timer);
  standin::settle();
  EXPECT_THAT(fires, testing::ElementsAre(10, 45));
  EXPECT_EQ(dispatch_source_get_data(timer), 3U);
  standin::advance(5);
  EXPECT_THAT(fires, testing::ElementsAre(10, 45, 50));
  dispatch_source_cancel(timer);
}

TEST_F(DispatchTimer, StartInThePastFiresAtOnce) {
  dispatch_source_t timer = makeTimer();
  set(timer, -15, 10);
  dispatch_resume(timer);
  standin::settle();
  standin::advance(5);
  EXPECT_THAT(fires, testing::ElementsAre(0, 5));
  dispatch_source_cancel(timer);
}

TEST_F(DispatchTimer, DoesNotFireAfterCancelEvenWhenItWasDue) {
  dispatch_source_t timer = makeTimer();
  set(timer, 0, 10);
  dispatch_resume(timer);
  dispatch_source_cancel(timer);
  EXPECT_EQ(dispatch_source_testcancel(timer), 1);
  standin::advance(100);
  EXPECT_THAT(fires, testing::IsEmpty());
}

TEST_F(DispatchTimer, CancelRunsItsHandlerOnTheQueueAndLetsGoOfBoth) {
  __weak NSObject* weak = nil;
  __block std::string queue;
  dispatch_source_t timer = makeTimer();
  {
    NSObject* object = [NSObject new];
    weak = object;
    dispatch_source_set_event_handler(timer, ^{
      EXPECT_NE(object, nil);
    });
    dispatch_source_set_cancel_handler(timer, ^{
      queue = standin::currentQueueLabel();
    });
  }
  dispatch_resume(timer);
  dispatch_source_cancel(timer);
  EXPECT_NE(weak, nil);
  standin::settle();
  EXPECT_EQ(weak, nil);
  EXPECT_EQ(queue, "com.apple.main-thread");
}

TEST_F(DispatchTimer, SetAgainStartsAnew) {
  dispatch_source_t timer = makeTimer();
  set(timer, 10, DISPATCH_TIME_FOREVER);
  dispatch_resume(timer);
  set(timer, 20, DISPATCH_TIME_FOREVER);
  standin::advance(50);
  EXPECT_THAT(fires, testing::ElementsAre(20));
  dispatch_source_cancel(timer);
}

TEST_F(DispatchTimer, TimesAreRecordedInNanoseconds) {
  dispatch_source_t timer = makeTimer();
  set(timer, 100, 40);
  EXPECT_THAT(standin::callsOf("dispatch_source_set_timer")[0].arguments,
              testing::ElementsAre(std::to_string(start + 100), "40", "1"));
  dispatch_resume(timer);
  dispatch_source_cancel(timer);
}

TEST_F(DispatchTimer, ReleasedBeforeItsFirstResumeIsAViolation) {
  {
    dispatch_source_t timer = makeTimer();
    set(timer, 10, 10);
  }
  EXPECT_THAT(standin::takeViolations(), testing::ElementsAre(violationOfInactive));
}

TEST_F(DispatchTimer, ReleasedWhileSuspendedIsAViolation) {
  {
    dispatch_source_t timer = makeTimer();
    dispatch_resume(timer);
    dispatch_suspend(timer);
  }
  EXPECT_THAT(standin::takeViolations(), testing::SizeIs(1));
}

TEST_F(DispatchTimer, ResumedTooOftenIsAViolation) {
  dispatch_source_t timer = makeTimer();
  dispatch_resume(timer);
  dispatch_resume(timer);
  EXPECT_THAT(standin::takeViolations(), testing::SizeIs(1));
  dispatch_source_cancel(timer);
}

TEST_F(DispatchTimer, DelayedTaskRunsAtItsTimeInOrder) {
  std::vector<int> order;
  auto* ran = &order;
  dispatch_after(dispatch_time(DISPATCH_TIME_NOW, 20), dispatch_get_main_queue(), ^{
    ran->push_back(2);
  });
  dispatch_after(dispatch_time(DISPATCH_TIME_NOW, 10), dispatch_get_main_queue(), ^{
    ran->push_back(1);
  });
  standin::settle();
  EXPECT_THAT(order, testing::IsEmpty());
  standin::advance(20);
  EXPECT_THAT(order, testing::ElementsAre(1, 2));
}

TEST_F(DispatchTimer, LeftRunningIsReported) {
  dispatch_source_t timer = makeTimer();
  set(timer, 10, 10);
  dispatch_resume(timer);
  standin::resetThreads();
  EXPECT_THAT(standin::takeViolations(), testing::SizeIs(1));
  dispatch_source_cancel(timer);
}

TEST_F(DispatchTimer, ClockStandsStillUntilItIsMoved) {
  EXPECT_EQ(clock_gettime_nsec_np(CLOCK_UPTIME_RAW), start);
  standin::advance(7);
  EXPECT_EQ(clock_gettime_nsec_np(CLOCK_UPTIME_RAW), start + 7);
  EXPECT_EQ(dispatch_time(DISPATCH_TIME_NOW, INT64_MAX), DISPATCH_TIME_FOREVER);
  EXPECT_NE(dispatch_time(DISPATCH_TIME_NOW, 0), standin::uptime());
}

}  // namespace
