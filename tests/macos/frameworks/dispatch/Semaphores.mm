#include <condition_variable>
#include <deque>
#include <mutex>

#import "tests/macos/frameworks/dispatch/DispatchObjects.h"
#include "tests/macos/standin/CallLog.h"
#include "tests/macos/standin/Threads.h"
#include "tests/macos/standin/Workload.h"

namespace {

// A thread that waits. Off the main thread it does not count as running, or a test could not settle
// and then do what the thread waits for; whoever wakes it counts it again.
struct Waiter {
  bool countsAsWork = false;
  bool isWoken = false;
};

}  // namespace

@interface StandInDispatchSemaphore : NSObject <OS_dispatch_semaphore> {
 @public
  std::mutex mutex;
  std::condition_variable woken;
  intptr_t value;
  std::deque<Waiter*> waiters;
}
@end

@implementation StandInDispatchSemaphore
@end

dispatch_semaphore_t dispatch_semaphore_create(intptr_t value) {
  StandInDispatchSemaphore* semaphore = [[StandInDispatchSemaphore alloc] init];
  semaphore->value = value;
  return semaphore;
}

intptr_t dispatch_semaphore_signal(dispatch_semaphore_t object) {
  auto* semaphore = static_cast<StandInDispatchSemaphore*>(object);
  const std::lock_guard guard(semaphore->mutex);
  if (semaphore->waiters.empty()) {
    ++semaphore->value;
    return 0;
  }
  auto* waiter = semaphore->waiters.front();
  semaphore->waiters.pop_front();
  if (waiter->countsAsWork) standin::workload().begin();
  waiter->isWoken = true;
  semaphore->woken.notify_all();
  return 1;
}

intptr_t dispatch_semaphore_wait(dispatch_semaphore_t object, dispatch_time_t timeout) {
  auto* semaphore = static_cast<StandInDispatchSemaphore*>(object);
  std::unique_lock lock(semaphore->mutex);
  if (semaphore->value > 0) {
    --semaphore->value;
    return 0;
  }
  if (timeout == DISPATCH_TIME_NOW) return 1;
  if (timeout != DISPATCH_TIME_FOREVER) {
    standin::violation("a wait with a limit would never end, as virtual time stands still");
  }
  Waiter waiter{.countsAsWork = !standin::isMainThread()};
  semaphore->waiters.push_back(&waiter);
  if (waiter.countsAsWork) standin::workload().end();
  semaphore->woken.wait(lock, [&waiter] { return waiter.isWoken; });
  return 0;
}
