#import "tests/macos/frameworks/Foundation/FoundationState.h"

#include <utility>

namespace standin {

FoundationState& foundationState() {
  static auto& state = *new FoundationState;
  return state;
}

void resetFoundation() {
  resetNotifications();
  auto& state = foundationState();
  const FoundationState initial;
  const std::lock_guard guard(state.mutex);
  state.systemVersion = initial.systemVersion;
  state.arguments = initial.arguments;
  state.homeFolder = initial.homeFolder;
  state.bundlePath = initial.bundlePath;
  state.executablePath = initial.executablePath;
  state.activities.clear();
  state.defaults.clear();
  state.standardOutput.clear();
  state.standardError.clear();
  state.tasks.clear();
  state.taskRunner = nullptr;
  state.fileHandleErrno = 0;
  state.descriptorsWithoutPipeSignal.clear();
}

void setSystemVersion(long major, long minor, long patch) {
  const std::lock_guard guard(foundationState().mutex);
  foundationState().systemVersion = {major, minor, patch};
}

void setProcessArguments(std::vector<std::string> arguments) {
  const std::lock_guard guard(foundationState().mutex);
  foundationState().arguments = std::move(arguments);
}

void setHomeFolder(std::string path) {
  const std::lock_guard guard(foundationState().mutex);
  foundationState().homeFolder = std::move(path);
}

void setMainBundle(std::string bundlePath, std::string executablePath) {
  const std::lock_guard guard(foundationState().mutex);
  foundationState().bundlePath = std::move(bundlePath);
  foundationState().executablePath = std::move(executablePath);
}

std::vector<Activity> runningActivities() {
  std::vector<Activity> activities;
  const std::lock_guard guard(foundationState().mutex);
  for (const auto& running : foundationState().activities) activities.push_back(running.activity);
  return activities;
}

void presetUserDefault(const std::string& key, id value) {
  const std::lock_guard guard(foundationState().mutex);
  auto& values = foundationState().defaults;
  if (value == nil) {
    values.erase(key);
  } else {
    values[key] = kept(value);
  }
}

std::string writtenToStandardOutput() {
  const std::lock_guard guard(foundationState().mutex);
  return foundationState().standardOutput;
}

std::string writtenToStandardError() {
  const std::lock_guard guard(foundationState().mutex);
  return foundationState().standardError;
}

void failFileHandleWrites(int errnoValue) {
  const std::lock_guard guard(foundationState().mutex);
  foundationState().fileHandleErrno = errnoValue;
}

void setTaskRunner(TaskRunner runner) {
  const std::lock_guard guard(foundationState().mutex);
  foundationState().taskRunner = std::move(runner);
}

std::vector<Task> launchedTasks() {
  const std::lock_guard guard(foundationState().mutex);
  return foundationState().tasks;
}

TaskOutcome runTask(const Task& task) {
  TaskRunner runner;
  {
    const std::lock_guard guard(foundationState().mutex);
    foundationState().tasks.push_back(task);
    runner = foundationState().taskRunner;
  }
  return runner ? runner(task) : TaskOutcome{};
}

}  // namespace standin
