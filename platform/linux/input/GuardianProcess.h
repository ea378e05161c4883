#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "platform/unix/FileDescriptor.h"

namespace quorvin {

// A started quorvin-input-guardian. It takes the end of its socket for the end of this process, and
// lives on in a session of its own, so that whoever ends a group of processes does not reach it.
// One thread.
class GuardianProcess {
 public:
  // Null when the program cannot be started. The message, if there is one, awaits it from its first
  // moment on: this process may end in the next.
  [[nodiscard]] static std::unique_ptr<GuardianProcess> start(
      const std::string& program, std::span<const std::uint8_t> message = {});
  GuardianProcess(const GuardianProcess&) = delete;
  GuardianProcess& operator=(const GuardianProcess&) = delete;
  // Lets it undo what it knows of.
  ~GuardianProcess() = default;

  // Hung up when it is gone.
  [[nodiscard]] int descriptor() const { return socket.get(); }
  // Whether it has said that it is ready to do its part.
  [[nodiscard]] bool isReadyWithin(std::chrono::milliseconds limit);
  // False when it is gone or has stopped reading; does not wait.
  [[nodiscard]] bool send(std::span<const std::uint8_t> message);
  // Ends it before it can undo anything.
  void kill();

 private:
  GuardianProcess(pid_t process, FileDescriptor socket)
      : process(process), socket(std::move(socket)) {}

  pid_t process;
  FileDescriptor socket;
  bool isReady = false;
};

}  // namespace quorvin
