#pragma once

#include <cstdint>
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
  std::string standardError;
  std::vector<std::string> standardErrorWrites;  // the same, each write for itself

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
