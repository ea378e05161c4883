#pragma once

#include <memory>
#include <string>

#include "platform/linux/DisplayAttempt.h"

namespace quorvin {

// What this process may do with an X display. Main thread.
struct DisplayAccess {
  bool canRead = false;
  bool canInject = false;
};

// Asks the display once and keeps the connection, whose end shows that the answer is out of date.
// Main thread.
class PermissionsDisplay {
 public:
  // An empty name stands for no display.
  explicit PermissionsDisplay(std::string name);

  // Costs a look at the connection. Only a call that has to open a new one waits for the display,
  // for at most a second; while that goes on longer, nothing is allowed.
  [[nodiscard]] DisplayAccess access();

 private:
  void start();
  [[nodiscard]] bool isConnected();

  const std::string name;
  std::shared_ptr<DisplayAccess> answer;  // written by the attempt, read when that is over
  std::unique_ptr<DisplayAttempt> attempt;
};

}  // namespace quorvin
