#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Process.h"
#include "platform/linux/system/AccountLock.h"

namespace quorvin {

// Runs a program by its path, with this process' environment and nowhere to write to, and waits for
// its end. Returns its exit status, or the number of the signal that ended it. Throws an Error when
// it cannot be started. Any thread.
std::int32_t runProgram(const std::string& path, const std::vector<std::string>& arguments);

// Where activities take effect. An empty text means that there is no such service.
struct ActivityServices {
  std::string display;     // an X display name, as in DISPLAY
  std::string busAddress;  // a D-Bus address, as in DBUS_SESSION_BUS_ADDRESS

  // The display and the running session bus of this process' environment; no bus is started.
  [[nodiscard]] static ActivityServices fromEnvironment();
};

// The process as its environment made it. An activity keeps the X server's screen saver and the
// desktop's idle handling away for as long as its token exists and has not been ended; it needs the
// thread-default GLib main context to be iterated, and never waits for the display or the bus.
class LinuxProcess final : public Process {
 public:
  // Tasks of "/bin/launchctl", which no Linux has, run the program of the other name instead, and
  // take the lock, if there is one, before that.
  LinuxProcess(std::vector<std::string> arguments, ActivityServices services,
               std::string launchctlProgram = "/bin/launchctl", AccountLock* lock = nullptr);

  // What QUORVIN_LAUNCHCTL names, or else quorvin-launchctl beside the executable.
  [[nodiscard]] static std::string launchctlFromEnvironment(const std::string& executable);

  [[nodiscard]] std::vector<std::string> arguments() override;
  // std::exit: buffered output is written and static objects are destroyed.
  [[noreturn]] void exit(int status) override;
  // Any thread. A reader that has gone away raises no signal.
  void writeToStandardOutput(std::string_view utf8) override;
  void writeToStandardError(std::string_view utf8) override;
  [[nodiscard]] std::uint32_t userID() override;
  std::int32_t runTask(const std::string& executablePath,
                       const std::vector<std::string>& arguments) override;
  [[nodiscard]] std::shared_ptr<ActivityToken> beginActivity(std::uint64_t options,
                                                             const std::string& reason) override;
  void endActivity(const std::shared_ptr<ActivityToken>& token) override;
  [[nodiscard]] bool isMacOSAtLeast(int major, int minor) override;

 private:
  std::vector<std::string> argumentList;
  ActivityServices services;
  std::string launchctlProgram;
  AccountLock* lock;
};

}  // namespace quorvin
