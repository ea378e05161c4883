#include "tests/macos/standin/CallLog.h"

#include <mutex>
#include <utility>

#include "tests/macos/standin/Threads.h"

namespace standin {
namespace {

struct Log {
  std::mutex mutex;
  std::vector<Call> calls;
  std::vector<std::string> violations;
};

// Never destroyed: threads of the stand-ins may still write while the process ends.
Log& log() {
  static auto& theLog = *new Log;
  return theLog;
}

}  // namespace

void record(std::string name, std::vector<std::string> arguments) {
  Call call{std::move(name), std::move(arguments), currentQueueLabel(), isMainThread()};
  const std::lock_guard guard(log().mutex);
  log().calls.push_back(std::move(call));
}

std::vector<Call> calls() {
  const std::lock_guard guard(log().mutex);
  return log().calls;
}

std::vector<Call> callsOf(std::string_view name) {
  auto found = calls();
  std::erase_if(found, [name](const Call& call) { return call.name != name; });
  return found;
}

std::vector<std::string> callNames() {
  std::vector<std::string> names;
  for (auto& call : calls()) names.push_back(std::move(call.name));
  return names;
}

void violation(std::string text) {
  const std::lock_guard guard(log().mutex);
  log().violations.push_back(std::move(text));
}

void requireMainThread(std::string_view operation) {
  if (!isMainThread()) violation(std::string(operation) + " was called off the main thread");
}

std::vector<std::string> takeViolations() {
  const std::lock_guard guard(log().mutex);
  return std::exchange(log().violations, {});
}

void resetCallLog() {
  const std::lock_guard guard(log().mutex);
  log().calls.clear();
  log().violations.clear();
}

}  // namespace standin
