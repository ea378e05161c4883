#pragma once

#include <cstdint>
#include <memory>
#include <set>
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
  int standardErrorWrites = 0;

  struct Activity {
    std::uint64_t options;
    std::string reason;
  };
  std::vector<Activity> begunActivities;
  std::vector<std::string> violations;

  [[nodiscard]] std::size_t runningActivities() const { return running.size(); }

  std::vector<std::string> arguments() override { return argumentList; }
  [[noreturn]] void exit(int status) override { throw ProcessExited{status}; }
  void writeToStandardError(std::string_view utf8) override {
    standardError += utf8;
    ++standardErrorWrites;
  }
  std::shared_ptr<ActivityToken> beginActivity(std::uint64_t options,
                                               const std::string& reason) override {
    begunActivities.push_back({options, reason});
    auto token = std::make_shared<Token>();
    running.insert(token.get());
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
  std::set<const ActivityToken*> running;
};

}  // namespace quorvin::fakes
