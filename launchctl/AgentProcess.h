#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "launchctl/OwnFile.h"

namespace quorvin::launchctl {

// An agent's program where no systemd looks after it. Which process it is stands in a file, the
// record, which the process writes before it becomes the program: so there is never one without.
class AgentProcess {
 public:
  // How long launchd waits between SIGTERM and SIGKILL.
  static constexpr std::chrono::milliseconds usualGrace{20000};

  explicit AgentProcess(OwnFile record) : record(std::move(record)) {}

  [[nodiscard]] bool isRecorded() const { return record.exists(); }
  [[nodiscard]] bool isRunning() const;
  // Starts the program in a session of its own, where it stays when this process or the terminal
  // goes. Throws a Failure when it cannot be executed.
  void start(const std::vector<std::string>& program) const;
  // Makes this process the program. Returns only by a Failure.
  [[noreturn]] void become(const std::vector<std::string>& program) const;
  // Asks the process to end, kills it when it has not within the grace, and deletes the record.
  // Throws a Failure when it is still there.
  void end(std::chrono::milliseconds grace) const;

 private:
  OwnFile record;
};

}  // namespace quorvin::launchctl
