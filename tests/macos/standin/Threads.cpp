#include "tests/macos/standin/Threads.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <thread>
#include <utility>

#include "tests/macos/standin/CallLog.h"
#include "tests/macos/standin/TaskQueue.h"
#include "tests/macos/standin/VirtualClock.h"
#include "tests/macos/standin/Workload.h"

namespace standin {
namespace {

// Waits until the main queue has a task; false when nothing waits or runs anywhere.
bool waitForMainTask() {
  const auto somethingChanged = [] {
    return mainQueue()->hasReadyTask() || workload().isIdle();
  };
  if (!workload().wait(somethingChanged)) {
    std::fputs("stand-in threads: a task has been running for a minute\n", stderr);
    std::abort();
  }
  return mainQueue()->hasReadyTask();
}

void reportLeftOverQueues() {
  for (const auto& label : ownedQueueLabels()) {
    violation("a dispatch queue outlived the test: " + label);
  }
}

}  // namespace

bool isMainThread() {
  return gettid() == getpid();
}

void settle() {
  requireMainThread("settle");
  do {
    while (mainQueue()->runOne()) {
    }
  } while (waitForMainTask());
}

void advance(std::uint64_t nanoseconds) {
  const auto end = uptime() + nanoseconds;
  settle();
  while (const auto alarm = virtualClock().moveTowards(end)) {
    (*alarm)();
    settle();
  }
}

std::uint64_t uptime() {
  return virtualClock().now();
}

void onSystemThread(std::function<void()> work) {
  workload().begin();
  std::thread([task = std::move(work)]() mutable {
    runInPool(std::move(task));
    workload().end();
  }).detach();
}

void resetThreads() {
  releaseHeldQueues();
  settle();
  if (const auto count = virtualClock().alarmCount(); count > 0) {
    violation(std::to_string(count) + " timers outlived the test");
  }
  virtualClock().reset();
  reportLeftOverQueues();
}

}  // namespace standin
