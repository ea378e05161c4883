#pragma once

#import <Foundation/Foundation.h>

#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "tests/macos/frameworks/Foundation/FoundationControl.h"

namespace standin {

// A reference to an object, counted by hand.
using Kept = std::shared_ptr<NSObject>;
inline Kept kept(id object) {
  return {[object retain], [](NSObject* held) { [held release]; }};
}

struct RunningActivity {
  const void* token = nullptr;
  Activity activity;
};

// What Foundation knows of the machine and the process. Under the lock.
struct FoundationState {
  std::mutex mutex;

  NSOperatingSystemVersion systemVersion{13, 0, 0};
  std::vector<std::string> arguments{"/Applications/Example.app/Contents/MacOS/Example"};
  std::string homeFolder = "/Users/example";
  std::string bundlePath = "/Applications/Example.app";
  std::string executablePath = "/Applications/Example.app/Contents/MacOS/Example";
  std::vector<RunningActivity> activities;
  std::map<std::string, Kept> defaults;
  std::string standardOutput;
  std::string standardError;
  int fileHandleErrno = 0;
  std::set<int> descriptorsWithoutPipeSignal;
  std::vector<Task> tasks;
  TaskRunner taskRunner;
};

FoundationState& foundationState();

// Notes the task down and asks the test how it ends.
[[nodiscard]] TaskOutcome runTask(const Task& task);

// Lets go of every observer.
void resetNotifications();

}  // namespace standin
