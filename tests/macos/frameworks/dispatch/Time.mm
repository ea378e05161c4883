#include <limits>
#include <mutex>

#import "tests/macos/frameworks/dispatch/DispatchObjects.h"
#include "tests/macos/standin/CallLog.h"
#include "tests/macos/standin/VirtualClock.h"

namespace {

// Saturates at the end of time, as dispatch does.
dispatch_time_t added(std::uint64_t nanoseconds, std::uint64_t more) {
  const auto last = (std::numeric_limits<std::uint64_t>::max() - 1) / standin::ticksPerNanosecond;
  if (nanoseconds > last || more > last - nanoseconds) return DISPATCH_TIME_FOREVER;
  return (nanoseconds + more) * standin::ticksPerNanosecond;
}

}  // namespace

dispatch_time_t dispatch_time(dispatch_time_t when, int64_t delta) {
  if (when == DISPATCH_TIME_FOREVER) return DISPATCH_TIME_FOREVER;
  const auto base = when == DISPATCH_TIME_NOW ? standin::virtualClock().now()
                                              : when / standin::ticksPerNanosecond;
  if (delta >= 0) return added(base, static_cast<std::uint64_t>(delta));
  const auto back = static_cast<std::uint64_t>(-(delta + 1)) + 1;
  // An instant before all others, which must not read as DISPATCH_TIME_NOW.
  return back >= base ? 1 : (base - back) * standin::ticksPerNanosecond;
}

void dispatch_after(dispatch_time_t when, dispatch_queue_t queue, dispatch_block_t block) {
  if (when == DISPATCH_TIME_FOREVER) return;
  const auto tasks = static_cast<StandInDispatchQueue*>(queue)->tasks;
  const auto due = when == DISPATCH_TIME_NOW ? 0 : when / standin::ticksPerNanosecond;
  auto work = standin::workOf(block);
  if (due <= standin::virtualClock().now()) {
    tasks->async(std::move(work));
    return;
  }
  standin::virtualClock().addAlarm(due, [tasks, work] { tasks->async(work); });
}

void dispatch_once(dispatch_once_t* predicate, DISPATCH_NOESCAPE dispatch_block_t block) {
  constexpr dispatch_once_t done = ~dispatch_once_t{0};
  if (__atomic_load_n(predicate, __ATOMIC_ACQUIRE) == done) return;
  // Recursive, since one such block may run into another.
  static auto& mutex = *new std::recursive_mutex;
  const std::lock_guard guard(mutex);
  if (*predicate == done) return;
  block();
  __atomic_store_n(predicate, done, __ATOMIC_RELEASE);
}

extern "C" unsigned long clock_gettime_nsec_np(clockid_t clock) {
  if (clock != CLOCK_UPTIME_RAW) standin::violation("only CLOCK_UPTIME_RAW is known");
  return standin::virtualClock().now();
}
