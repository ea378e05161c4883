#pragma once

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace quorvin {

// In a forked child: has the kernel kill it when its parent ends, however that ends. Holds for the
// program that it becomes as well, and is forgotten when the child changes its user, who has to say
// it again. Allocates nothing.
inline void endWithParent(pid_t parent) {
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (::getppid() != parent) ::_exit(127);  // which was gone before the kernel knew
}

// fork() whose child ends with this process.
[[nodiscard]] inline pid_t forkChild() {
  // To the kernel the parent is the thread that forks.
  if (::gettid() != ::getpid()) throw std::logic_error("only the main thread starts processes");
  const pid_t parent = ::getpid();
  const pid_t child = ::fork();
  if (child == 0) endWithParent(parent);
  return child;
}

struct ChildProgram {
  std::vector<std::string> words;  // the program, which is looked for in PATH, and its arguments
  std::optional<std::vector<std::string>> environment;  // of this process when there is none
  // Descriptors of this process and which of the program's they become, one after the other.
  std::vector<std::pair<int, int>> descriptors;
  bool hasOwnGroup = false;
};

// Starts a program that ends with this process. Throws std::system_error when that fails.
[[nodiscard]] inline pid_t startProgram(ChildProgram program) {
  const auto asArray = [](std::vector<std::string>& words) {
    std::vector<char*> pointers(words.size() + 1, nullptr);
    std::ranges::transform(words, pointers.begin(), [](auto& word) { return word.data(); });
    return pointers;
  };
  const auto arguments = asArray(program.words);
  const auto variables = program.environment ? asArray(*program.environment) : std::vector<char*>();
  // Closed by the program's start; else it brings why there was none.
  std::array<int, 2> report{};
  if (::pipe2(report.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
  const pid_t child = forkChild();
  if (child == 0) {
    constexpr int beyondAllOthers = 100;
    const int answer = ::fcntl(report[1], F_DUPFD_CLOEXEC, beyondAllOthers);
    if (program.hasOwnGroup) ::setpgid(0, 0);
    for (const auto& [from, to] : program.descriptors) {
      if (from == to ? ::fcntl(to, F_SETFD, 0) < 0 : ::dup2(from, to) < 0) ::_exit(127);
    }
    ::execvpe(arguments.front(), arguments.data(),
              program.environment ? variables.data() : environ);
    const int error = errno;
    ::_exit(::write(answer, &error, sizeof error) < 0 ? 126 : 127);
  }
  ::close(report[1]);
  int error = child < 0 ? EAGAIN : 0;
  while (::read(report[0], &error, sizeof error) < 0 && errno == EINTR) {
  }
  ::close(report[0]);
  if (error == 0) return child;
  if (child > 0) ::waitpid(child, nullptr, 0);
  throw std::system_error(error, std::generic_category(), program.words.front());
}

// Processes that it has started and that are there still.
[[nodiscard]] inline std::vector<pid_t> childrenOf(pid_t parent) {
  std::vector<pid_t> children;
  for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
    const auto name = entry.path().filename().string();
    pid_t candidate = 0;
    if (std::from_chars(name.data(), name.data() + name.size(), candidate).ec != std::errc()) {
      continue;
    }
    // proc(5): number, name in brackets, state, parent
    std::string text;
    std::getline(std::ifstream(entry.path() / "stat"), text);
    const auto bracket = text.rfind(") ");
    if (bracket == std::string::npos || text[bracket + 2] == 'Z') continue;
    if (std::atoi(text.c_str() + bracket + 4) == parent) children.push_back(candidate);
  }
  return children;
}

}  // namespace quorvin
