#pragma once

#import <CoreFoundation/CoreFoundation.h>

#include <chrono>

#include "platform/macos/Dispatch.h"
#include "tests/contract/Contract.h"

namespace quorvin::contract {

// Serves the main run loop, and with it the main queue, until the condition holds; false when it
// did not within the time. Main thread.
inline bool runLoopUntil(const Condition& condition,
                         std::chrono::nanoseconds timeout = std::chrono::seconds(20)) {
  MacDispatch clock;
  const auto deadline = clock.uptimeNanoseconds() + static_cast<std::uint64_t>(timeout.count());
  while (!condition()) {
    if (clock.uptimeNanoseconds() > deadline) return false;
    @autoreleasepool {
      // Looks again soon, as nothing may announce what the condition waits for.
      constexpr CFTimeInterval seconds = 0.002;
      CFRunLoopRunInMode(kCFRunLoopDefaultMode, seconds, true);
    }
  }
  return true;
}

}  // namespace quorvin::contract
