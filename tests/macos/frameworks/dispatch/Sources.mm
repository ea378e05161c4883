#include <string>
#include <utility>

#import "tests/macos/frameworks/dispatch/DispatchObjects.h"
#include "tests/macos/standin/CallLog.h"
#include "tests/macos/standin/TimerSource.h"

struct dispatch_source_type_s {
  char unused;
};
const dispatch_source_type_s _dispatch_source_type_timer{};

@interface StandInDispatchSource : NSObject <OS_dispatch_source> {
 @public
  std::shared_ptr<standin::TimerSource> timer;
  dispatch_queue_t queue;
}
@end

@implementation StandInDispatchSource

- (void)dealloc {
  timer->abandon();
  [queue release];
  [super dealloc];
}

@end

namespace {

standin::TimerSource& timerOf(dispatch_source_t source) {
  return *static_cast<StandInDispatchSource*>(source)->timer;
}

std::optional<std::uint64_t> startOf(dispatch_time_t time) {
  if (time == DISPATCH_TIME_FOREVER) return std::nullopt;
  if (time == DISPATCH_TIME_NOW) return standin::virtualClock().now();
  return time / standin::ticksPerNanosecond;
}

std::uint64_t intervalOf(std::uint64_t interval) {
  if (interval == DISPATCH_TIME_FOREVER) return standin::TimerSource::once;
  if (interval > 0) return interval;
  standin::violation("a timer's interval of 0 is taken for 1 ns");
  return 1;
}

std::string text(std::optional<std::uint64_t> nanoseconds) {
  return nanoseconds ? std::to_string(*nanoseconds) : "DISPATCH_TIME_FOREVER";
}

}  // namespace

dispatch_source_t dispatch_source_create(dispatch_source_type_t type, uintptr_t handle,
                                         uintptr_t mask, dispatch_queue_t queue) {
  if (type != DISPATCH_SOURCE_TYPE_TIMER || handle != 0 || (mask & ~1UL) != 0) {
    standin::violation("dispatch_source_create: only timers are known");
  }
  StandInDispatchSource* source = [[StandInDispatchSource alloc] init];
  source->timer =
      std::make_shared<standin::TimerSource>(static_cast<StandInDispatchQueue*>(queue)->tasks);
  source->queue = [queue retain];
  return source;
}

// Recorded with its times in nanoseconds of the virtual clock.
void dispatch_source_set_timer(dispatch_source_t source, dispatch_time_t start, uint64_t interval,
                               uint64_t leeway) {
  const auto startNs = startOf(start);
  const auto repeats = interval != DISPATCH_TIME_FOREVER;
  standin::record("dispatch_source_set_timer",
                  {text(startNs), repeats ? std::to_string(interval) : text(std::nullopt),
                   std::to_string(leeway)});
  timerOf(source).setTimer(startNs, intervalOf(interval));
}

void dispatch_source_set_event_handler(dispatch_source_t source, dispatch_block_t handler) {
  timerOf(source).setEventHandler(standin::workOf(handler));
}

void dispatch_source_cancel(dispatch_source_t source) { timerOf(source).cancel(); }

void dispatch_resume(dispatch_object_t object) {
  if ([object isKindOfClass:[StandInDispatchSource class]]) {
    return static_cast<StandInDispatchSource*>(object)->timer->resume();
  }
  standin::violation("only sources can be resumed");
}
