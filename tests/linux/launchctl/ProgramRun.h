#pragma once

#include <glib.h>
#include <sys/wait.h>

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace quorvin::launchctl {

// How a program ended, and what it wrote.
struct ProgramRun {
  int status = 0;  // its exit status, or 128 + n when signal n ended it
  std::string output;
  std::string errors;
};

// Runs a program in the environment of this one with a few changes ("NAME=value"; "NAME=" takes a
// variable away) and waits until it has ended.
[[nodiscard]] inline ProgramRun runProgram(std::vector<std::string> command,
                                           const std::vector<std::string>& changes = {}) {
  std::vector<char*> words(command.size() + 1, nullptr);
  std::ranges::transform(command, words.begin(), [](auto& word) { return word.data(); });
  char** environment = g_get_environ();
  for (const auto& change : changes) {
    const auto name = change.substr(0, change.find('='));
    const auto value = change.substr(name.size() + 1);
    environment = value.empty() ? g_environ_unsetenv(environment, name.c_str())
                                : g_environ_setenv(environment, name.c_str(), value.c_str(), TRUE);
  }
  char* output = nullptr;
  char* errors = nullptr;
  int status = 0;
  const bool started = g_spawn_sync(nullptr, words.data(), environment, G_SPAWN_SEARCH_PATH,
                                    nullptr, nullptr, &output, &errors, &status, nullptr) != FALSE;
  g_strfreev(environment);
  const std::unique_ptr<char, decltype(&g_free)> ownedOutput(output, g_free);
  const std::unique_ptr<char, decltype(&g_free)> ownedErrors(errors, g_free);
  if (!started) throw std::runtime_error("cannot start " + command.front());
  return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), output, errors};
}

}  // namespace quorvin::launchctl
