#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/Process.h"

namespace quorvin::fakes {

// Thrown in place of ending the process.
struct ProcessExited {
  int status;
};

class FakeProcess final : public Process {
 public:
  std::vector<std::string> argumentList = {"/Applications/Quorvin Support.app/quorvin-support"};
  int macOSMajor = 14;
  int macOSMinor = 0;
  std::string standardOutput;
  std::vector<std::string> standardOutputWrites;  // the same, each write for itself
  std::string standardError;
  std::vector<std::string> standardErrorWrites;
  std::uint32_t user = 501;

  struct Task {
    std::string executablePath;
    std::vector<std::string> arguments;

    friend bool operator==(const Task&, const Task&) = default;
  };
  std::vector<Task> tasks;
  // What a task ends with; throws an Error if it cannot be launched.
  std::function<std::int32_t(const Task&)> runsTask = [](const Task&) {
    return 0;
  };

  struct Activity {
    std::uint64_t options;
    std::string reason;
  };
  std::vector<Activity> begunActivities;
  std::vector<std::string> violations;

  [[nodiscard]] std::size_t runningActivities() const { return running.size(); }
  [[nodiscard]] std::vector<std::string> runningReasons() const {
    std::vector<std::string> reasons;
    for (const auto& entry : running) reasons.push_back(entry.second);
    return reasons;
  }

  std::vector<std::string> arguments() override { return argumentList; }
  [[noreturn]] void exit(int status) override { throw ProcessExited{status}; }
  void writeToStandardOutput(std::string_view utf8) override {
    standardOutput += utf8;
    standardOutputWrites.emplace_back(utf8);
  }
  std::uint32_t userID() override { return user; }
  std::int32_t runTask(const std::string& executablePath,
                       const std::vector<std::string>& taskArguments) override {
    tasks.push_back({executablePath, taskArguments});
    return runsTask(tasks.back());
  }
  void writeToStandardError(std::string_view utf8) override {
    standardError += utf8;
    standardErrorWrites.emplace_back(utf8);
  }
  std::shared_ptr<ActivityToken> beginActivity(std::uint64_t options,
                                               const std::string& reason) override {
    begunActivities.push_back({options, reason});
    auto token = std::make_shared<Token>();
    running[token.get()] = reason;
    return token;
  }
  void endActivity(const std::shared_ptr<ActivityToken>& token) override {
    if (running.erase(token.get()) != 1) violations.emplace_back("ended an activity twice");
  }
  bool isMacOSAtLeast(int major, int minor) override {
    return macOSMajor > major || (macOSMajor == major && macOSMinor >= minor);
  }

 private:
  class Token final : public ActivityToken {};
  std::map<const ActivityToken*, std::string> running;  // with their reasons
};

}  // namespace quorvin::fakes
