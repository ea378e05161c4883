#pragma once

#include <string>
#include <vector>

#include "tests/linux/launchctl/LaunchctlHarness.h"

namespace quorvin::launchctl {

// Stands in for systemctl: a script that writes down what it is asked for and always succeeds, but
// for what a test wants otherwise. It does what no file tells: "enable" makes the link.
class RecordingSystemctl {
 public:
  explicit RecordingSystemctl(LaunchctlHarness& harness);

  // The arguments of every call since the last time, one call a line, without "--user --no-pager".
  [[nodiscard]] std::vector<std::string> calls() const;
  void forgetCalls() const;
  // A variable in the manager's environment.
  void setEnvironment(const std::string& lines) const { harness.put("environment", lines); }
  // Calls that begin with this word fail from now on, none when empty.
  void failAt(const std::string& command) const { harness.put("failing", command); }
  // The one unit that is active.
  void setActive(const std::string& unit) const { harness.put("active", unit); }
  // Has the call of this number, counted from 1, kill who asks; none when 0.
  void killAt(std::size_t call) const { harness.put("killing", std::to_string(call)); }

 private:
  LaunchctlHarness& harness;
};

}  // namespace quorvin::launchctl
