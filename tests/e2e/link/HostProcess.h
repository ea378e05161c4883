#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "platform/unix/FileDescriptor.h"

namespace quorvin {

// The real host, or any other program, in an environment of its own. Killed at the end when it is
// still there, also when this process is killed.
class HostProcess {
 public:
  struct Launch {
    std::string program;
    std::vector<std::string> arguments;
    // "NAME=value"; a later one counts before an earlier one.
    std::vector<std::string> environment;
    // Becomes the program's descriptor 3.
    FileDescriptor link;
    // Whether it leads a process group of its own.
    bool hasOwnGroup = false;
  };

  explicit HostProcess(Launch launch);
  HostProcess(const HostProcess&) = delete;
  HostProcess& operator=(const HostProcess&) = delete;
  ~HostProcess();

  void send(int signal) const;
  // The status with which the program ended, 128 + n when by a signal; nothing while it runs on.
  std::optional<int> statusWithin(std::chrono::milliseconds within = std::chrono::seconds(20));
  // What it wrote to standard error, once it has ended.
  [[nodiscard]] std::string errorOutput() const;
  [[nodiscard]] std::size_t residentBytes() const;
  // All the time that its threads have spent on a processor.
  [[nodiscard]] std::chrono::milliseconds processorTime() const;
  [[nodiscard]] pid_t processId() const { return process; }

 private:
  pid_t process = -1;
  FileDescriptor errors;  // a file that has no name
  std::optional<int> status;
};

}  // namespace quorvin
