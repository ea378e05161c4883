#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace standin {

// The stand-in for Grand Central Dispatch as a test works it. Serial and global queues run their
// tasks on real threads, so that the thread sanitizer sees what a Mac would do. Time is virtual: it
// stands still until the test moves it, and only timers and delayed tasks follow it.

// The thread that runs main(), where the main queue's tasks run.
[[nodiscard]] bool isMainThread();
// Label of the queue whose task is running on this thread: "com.apple.main-thread" for the main
// queue's; empty outside any task.
[[nodiscard]] std::string currentQueueLabel();

// Main thread. Runs the main queue's tasks until neither it nor any other queue has a task waiting
// or running. Every task gets an autorelease pool of its own.
void settle();
// Main thread. Settles, then moves the clock forward to `nanoseconds` from now, stopping at every
// timer that falls due on the way, in order, and settles after each.
void advance(std::uint64_t nanoseconds);
// Nanoseconds of the virtual clock.
[[nodiscard]] std::uint64_t uptime();

// Holds back the tasks of every queue with this label until it is resumed, so that a test can
// choose an order. settle() does not wait for a held queue.
void hold(const std::string& label);
void resume(const std::string& label);

// Runs the work on a system thread that belongs to no queue, where the frameworks run callbacks
// whose thread they leave open. settle() waits for it.
void onSystemThread(std::function<void()> work);

// Ends in a clean state: nothing held, the clock at its start. Timers and queues that are still
// alive are reported as violations.
void resetThreads();

}  // namespace standin
