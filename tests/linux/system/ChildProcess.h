#pragma once

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "tests/ChildProgram.h"

namespace quorvin {

// A program that says one line on a descriptor once it is ready, and is killed at the end, also
// when this process is killed.
class ChildProcess {
 public:
  // The descriptor on which the child is to say its line.
  static constexpr int readyDescriptor = 3;

  explicit ChildProcess(std::vector<std::string> command) {
    std::array<int, 2> pipe{};
    if (pipe2(pipe.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    const int silence = open("/dev/null", O_WRONLY | O_CLOEXEC);
    pid = startProgram({.words = std::move(command),
                        .environment = {},
                        .descriptors = {{silence, STDERR_FILENO}, {pipe[1], readyDescriptor}}});
    close(silence);
    close(pipe[1]);
    char letter = 0;
    while (read(pipe[0], &letter, 1) == 1 && letter != '\n') line += letter;
    close(pipe[0]);
  }
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;
  ~ChildProcess() { end(); }

  [[nodiscard]] const std::string& readyLine() const { return line; }
  void send(int signal) const { kill(pid, signal); }
  // Returns once it has stopped or ended; at once in a fork of this process, whose child it is not.
  void stop() const {
    kill(pid, SIGSTOP);
    siginfo_t state{};
    waitid(P_PID, static_cast<id_t>(pid), &state, WSTOPPED | WEXITED | WNOWAIT);
  }
  void end() {
    if (pid <= 0) return;
    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);
    pid = 0;
  }

 private:
  pid_t pid = 0;
  std::string line;
};

}  // namespace quorvin
