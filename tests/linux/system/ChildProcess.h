#pragma once

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <stdexcept>
#include <string>
#include <vector>

namespace quorvin {

// A program that says one line on a descriptor once it is ready, and is killed at the end.
class ChildProcess {
 public:
  // The descriptor on which the child is to say its line.
  static constexpr int readyDescriptor = 3;

  explicit ChildProcess(std::vector<std::string> command) {
    std::array<int, 2> pipe{};
    if (pipe2(pipe.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    spawn(command, pipe[1]);
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
  void end() {
    if (pid <= 0) return;
    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);
    pid = 0;
  }

 private:
  void spawn(std::vector<std::string>& command, int ready) {
    std::vector<char*> arguments(command.size() + 1, nullptr);
    std::ranges::transform(command, arguments.begin(), [](auto& word) { return word.data(); });
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ready, readyDescriptor);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    const int error =
        posix_spawnp(&pid, arguments.front(), &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) throw std::runtime_error("cannot start " + command.front());
  }

  pid_t pid = 0;
  std::string line;
};

}  // namespace quorvin
