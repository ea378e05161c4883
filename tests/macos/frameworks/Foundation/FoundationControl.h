#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace standin {

// What a test says about the machine and the process that Foundation describes, and what it can ask
// afterwards. Main thread, except where a function reads.

// Brings everything below back to what it was at the start, and empties the user defaults and the
// notification centre.
void resetFoundation();

// -[NSProcessInfo operatingSystemVersion]; 13.0.0 at the start.
void setSystemVersion(long major, long minor, long patch = 0);
// -[NSProcessInfo arguments]; one made-up executable path at the start.
void setProcessArguments(std::vector<std::string> arguments);
// The home folder, without a slash at the end; a made-up one at the start.
void setHomeFolder(std::string path);
// +[NSBundle mainBundle]; made-up paths at the start. Without an executable path it has no
// executable.
void setMainBundle(std::string bundlePath, std::string executablePath);

struct Activity {
  std::uint64_t options = 0;
  std::string reason;

  friend bool operator==(const Activity&, const Activity&) = default;
};

// Activities that are running now, oldest first.
[[nodiscard]] std::vector<Activity> runningActivities();

#ifdef __OBJC__
// A stored value of the user defaults; nil removes it.
void presetUserDefault(const std::string& key, id _Nullable value);
#endif

// Everything that was written to that handle. Nothing of it reaches the terminal.
[[nodiscard]] std::string writtenToStandardOutput();
[[nodiscard]] std::string writtenToStandardError();
// Lets every following write to a file handle fail with this errno; 0 lets it succeed again. EPIPE
// ends a program that has not taken care: that is a violation.
void failFileHandleWrites(int errnoValue);

struct Task {
  std::string executablePath;
  std::vector<std::string> arguments;

  friend bool operator==(const Task&, const Task&) = default;
};
struct TaskOutcome {
  int status = 0;
  int launchErrno = 0;  // other than 0: it could not be launched
};
using TaskRunner = std::function<TaskOutcome(const Task&)>;
// Says how tasks end; at the start they all end with the status 0. Nothing is really run.
void setTaskRunner(TaskRunner runner);
// All that were launched, or should have been.
[[nodiscard]] std::vector<Task> launchedTasks();

// Observers that are registered in the default notification centre.
[[nodiscard]] std::size_t notificationObserverCount();

}  // namespace standin
