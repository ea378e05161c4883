#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Interface.h"

namespace quorvin {

// Options of an activity, combined with |. The values are those of NSActivityOptions.
inline constexpr std::uint64_t activityUserInitiated = 0x00FFFFFF;
inline constexpr std::uint64_t activityLatencyCritical = 0xFF00000000;

// Stands for one running activity between beginActivity and endActivity.
class ActivityToken : public Interface {};

// The running process and what it tells the system about itself. Main thread.
class Process : public Interface {
 public:
  // The whole list, the executable path included.
  [[nodiscard]] virtual std::vector<std::string> arguments() = 0;
  [[noreturn]] virtual void exit(int status) = 0;
  // One write of these bytes as they are, zeros and control characters included; a failure is not
  // reported.
  virtual void writeToStandardOutput(std::string_view utf8) = 0;
  virtual void writeToStandardError(std::string_view utf8) = 0;

  // The real user id.
  [[nodiscard]] virtual std::uint32_t userID() = 0;
  // Runs a program, without a shell, and waits until it has ended, however long that takes. What it
  // writes goes nowhere; standard input and the whole environment it gets from this process.
  // Returns its exit status, or the number of the signal that ended it; throws the system's own
  // Error when it cannot be launched.
  virtual std::int32_t runTask(const std::string& executablePath,
                               const std::vector<std::string>& arguments) = 0;

  // While an activity lasts the machine does not go to sleep for want of a user, and the process is
  // not slowed down. Whether the screen stays lit is the system's affair: macOS has an option for
  // that (NSActivityIdleDisplaySleepDisabled), which neither of those above contains, and may blank
  // it; Linux does not blank it, whatever the options.
  [[nodiscard]] virtual std::shared_ptr<ActivityToken> beginActivity(std::uint64_t options,
                                                                     const std::string& reason) = 0;
  virtual void endActivity(const std::shared_ptr<ActivityToken>& token) = 0;

  // Whether the system is macOS of at least this version.
  [[nodiscard]] virtual bool isMacOSAtLeast(int major, int minor) = 0;
};

}  // namespace quorvin
