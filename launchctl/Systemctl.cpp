#include "launchctl/Systemctl.h"

#include <glib.h>

#include <algorithm>
#include <memory>

#include "launchctl/Failure.h"

namespace quorvin::launchctl {
namespace {

struct GlibDeleter {
  void operator()(char* text) const { g_free(text); }
  void operator()(GError* error) const { g_error_free(error); }
};

std::string firstLineOf(const std::string& text) {
  return text.substr(0, text.find('\n'));
}

}  // namespace

Systemctl::Result Systemctl::run(const std::vector<std::string>& command) const {
  std::vector<std::string> words{program, "--user", "--no-pager"};
  words.insert(words.end(), command.begin(), command.end());
  std::vector<char*> arguments(words.size() + 1, nullptr);
  std::ranges::transform(words, arguments.begin(), [](auto& word) { return word.data(); });

  char* output = nullptr;
  char* problems = nullptr;
  int status = 0;
  GError* problem = nullptr;
  const bool started =
      g_spawn_sync(nullptr, arguments.data(), nullptr, G_SPAWN_SEARCH_PATH, nullptr, nullptr,
                   &output, &problems, &status, &problem) != FALSE;
  const std::unique_ptr<char, GlibDeleter> ownedOutput(output);
  const std::unique_ptr<char, GlibDeleter> ownedProblems(problems);
  const std::unique_ptr<GError, GlibDeleter> ownedProblem(problem);
  if (!started) return {false, {}, problem->message};
  return {status == 0, output, firstLineOf(problems)};
}

std::optional<std::string> Systemctl::tryTo(const std::vector<std::string>& command) const {
  auto result = run(command);
  if (!result.succeeded) return std::nullopt;
  return std::move(result.output);
}

void Systemctl::require(const std::vector<std::string>& command) const {
  const auto result = run(command);
  if (result.succeeded) return;
  const auto said = result.problem.empty() ? "it did not say why" : result.problem;
  throw Failure("systemctl --user " + command.front() + " failed: " + said);
}

}  // namespace quorvin::launchctl
