#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace standin {

// One call of an operation of the stand-in frameworks.
struct Call {
  std::string name;  // as Apple writes it: "-[NSWindow center]", "CGPreflightScreenCaptureAccess"
  std::vector<std::string> arguments;
  std::string queue;  // label of the dispatch queue that it came on, empty outside any
  bool onMainThread = false;

  friend bool operator==(const Call&, const Call&) = default;
};

// Everything here may be called on any thread.

void record(std::string name, std::vector<std::string> arguments = {});
// All calls since the last reset, oldest first; those of one name; the names only.
[[nodiscard]] std::vector<Call> calls();
[[nodiscard]] std::vector<Call> callsOf(std::string_view name);
[[nodiscard]] std::vector<std::string> callNames();

// What the real framework forbids or answers with an exception: the wrong thread, a second start, a
// use after the end, a wrong type. The test that was running fails.
void violation(std::string text);
// Records a violation unless the call comes on the main thread.
void requireMainThread(std::string_view operation);
// All since the last call of this; a test that provokes one takes it out.
[[nodiscard]] std::vector<std::string> takeViolations();

void resetCallLog();

}  // namespace standin
