#pragma once

#include <glib.h>
#include <sys/wait.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "tests/TemporaryFolder.h"

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
  GError* failure = nullptr;
  g_spawn_sync(nullptr, words.data(), environment, G_SPAWN_SEARCH_PATH, nullptr, nullptr, &output,
               &errors, &status, &failure);
  g_strfreev(environment);
  const std::unique_ptr<char, decltype(&g_free)> ownedOutput(output, g_free);
  const std::unique_ptr<char, decltype(&g_free)> ownedErrors(errors, g_free);
  const std::unique_ptr<GError, decltype(&g_error_free)> ownedFailure(failure, g_error_free);
  if (failure != nullptr) throw std::runtime_error(failure->message);
  return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), output, errors};
}

// Whether a condition comes true at some time soon.
[[nodiscard]] inline bool becomesTrue(const std::function<bool()>& condition) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(40);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return true;
}

constexpr auto agentLabel = "com.example.agent";

// A property list that describes an agent: the usual entries, or others in their place.
struct AgentDescription {
  std::string label = agentLabel;
  std::vector<std::string> arguments{"/bin/sleep", "1000"};
  // More entries, as XML.
  std::string others = "<key>RunAtLoad</key><true/><key>KeepAlive</key><true/>";

  [[nodiscard]] std::string xml() const;
};

// The content of a dictionary as a whole property list.
[[nodiscard]] std::string propertyListXml(const std::string& entries);
[[nodiscard]] std::string contentOf(const std::filesystem::path& file);
// What an autostart entry starts, as GLib reads it, with which desktops read these files.
[[nodiscard]] std::vector<std::string> commandOfEntry(const std::string& text);

// The real program with a home folder of its own.
class LaunchctlHarness {
 public:
  TemporaryFolder folder;

  // Writes the description to the file that is named after its label, and returns the path.
  std::string writeAgent(const AgentDescription& description = {}) const;
  // Writes a file in the harness's folder.
  void put(const std::string& name, const std::string& content) const;
  [[nodiscard]] ProgramRun bootstrap(const std::string& file) const;
  [[nodiscard]] ProgramRun bootout(const std::string& file) const;
  [[nodiscard]] ProgramRun run(const std::vector<std::string>& arguments) const;
  // The variables that a run finds changed; tests add to them.
  std::vector<std::string> environment{"HOME=" + home(),
                                       "XDG_CONFIG_HOME=", "XDG_STATE_HOME=", "XDG_RUNTIME_DIR="};

  [[nodiscard]] std::string home() const { return folder.path("home"); }
  [[nodiscard]] std::filesystem::path unit(const std::string& label = agentLabel) const;
  [[nodiscard]] std::filesystem::path entry(const std::string& label = agentLabel) const;
  // Where it writes down why it has failed.
  [[nodiscard]] std::filesystem::path log() const;
  // Every other file below the home folder.
  [[nodiscard]] std::vector<std::string> files() const;

 private:
  [[nodiscard]] ProgramRun runOnFile(const char* command, const std::string& file) const;
};

}  // namespace quorvin::launchctl
