#pragma once

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "platform/linux/input/GuardianJournal.h"
#include "platform/unix/FileDescriptor.h"
#include "tests/linux/guardian/ScreenInput.h"

namespace quorvin {

// A process that holds keys on an X display and keeps the journal of it, in a process group of its
// own. Killed at the end when it is still there.
class DyingHost {
 public:
  static constexpr std::chrono::milliseconds timeout = std::chrono::seconds(20);
  // Runs in that process, which runs the main loop when it is over; tells whether all went well.
  using Work = std::function<bool(GuardianJournal& journal, ScreenInput& input)>;

  // Returns when the work is over.
  DyingHost(const std::string& display, const Work& work);
  DyingHost(const DyingHost&) = delete;
  DyingHost& operator=(const DyingHost&) = delete;
  ~DyingHost();

  [[nodiscard]] bool workedWell() const { return isWell; }
  // Sends the signal and waits until the process is gone.
  void end(int signal);
  // The same to its whole process group.
  void endGroup(int signal);
  // Whether the process and all that it has started are gone, sooner or later.
  [[nodiscard]] bool allAreGone();
  // The only one, or -1.
  [[nodiscard]] pid_t guardian() const;

 private:
  [[noreturn]] void run(const std::string& display, const Work& work, FileDescriptor result,
                        FileDescriptor errors);
  void end(pid_t target, int signal);

  pid_t process = -1;
  bool isWell = false;
  FileDescriptor errorOutput;  // ends when nobody is left who could write to it
};

// What a test's own process does when it stands for the host.
inline bool pressKey(GuardianJournal& journal, ScreenInput& input, std::uint8_t key) {
  if (!journal.willPressKey(key)) return false;
  input.pressKey(key);
  return true;
}

inline bool pressButton(GuardianJournal& journal, ScreenInput& input, std::uint8_t button) {
  if (!journal.willPressButton(button)) return false;
  input.pressButton(button);
  return true;
}

}  // namespace quorvin
