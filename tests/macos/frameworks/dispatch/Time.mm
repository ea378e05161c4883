#include <limits>

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

extern "C" unsigned long clock_gettime_nsec_np(clockid_t clock) {
  if (clock != CLOCK_UPTIME_RAW) standin::violation("only CLOCK_UPTIME_RAW is known");
  return standin::virtualClock().now();
}
