#pragma once

#include <memory>

#import <dispatch/dispatch.h>

#include "tests/macos/standin/TaskQueue.h"

// The objects behind dispatch's types. Without ARC.

@interface StandInDispatchQueue : NSObject <OS_dispatch_queue_main, OS_dispatch_queue_global> {
 @public
  std::shared_ptr<standin::TaskQueue> tasks;
}
@end

namespace standin {

inline TaskQueue& tasksOf(dispatch_queue_t queue) {
  return *static_cast<StandInDispatchQueue*>(queue)->tasks;
}

// The block, copied and held by a task.
Work workOf(dispatch_block_t block);

// What a dispatch_time_t counts.
inline constexpr std::uint64_t ticksPerNanosecond = 3;

}  // namespace standin
