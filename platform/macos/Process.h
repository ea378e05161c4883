#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Process.h"

namespace quorvin {

// This process, through NSProcessInfo and the C library. An activity whose token is let go without
// having been ended ends then.
class MacProcess final : public Process {
 public:
  [[nodiscard]] std::vector<std::string> arguments() override;
  // The C library's exit: what was registered to run at the end runs.
  [[noreturn]] void exit(int status) override;
  void writeToStandardOutput(std::string_view utf8) override;
  void writeToStandardError(std::string_view utf8) override;
  std::uint32_t userID() override;
  std::int32_t runTask(const std::string& executablePath,
                       const std::vector<std::string>& arguments) override;
  [[nodiscard]] std::shared_ptr<ActivityToken> beginActivity(std::uint64_t options,
                                                             const std::string& reason) override;
  void endActivity(const std::shared_ptr<ActivityToken>& token) override;
  [[nodiscard]] bool isMacOSAtLeast(int major, int minor) override;
};

}  // namespace quorvin
