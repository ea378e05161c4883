#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "platform/linux/x11/DisplayAttempt.h"

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
  // Begins to ask. An empty name stands for no display.
  explicit PermissionsDisplay(std::string name);

  // Costs a look at the connection. One that has broken is made anew, and until the display has
  // answered nothing is allowed. Only the first answer is waited for, and only in the first second
  // of this object's life, so that a program that does nothing but ask gets to know the truth.
  [[nodiscard]] DisplayAccess access();
  // Whether `access` would not have to wait.
  [[nodiscard]] bool hasAnswered();

 private:
  void start();
  [[nodiscard]] bool isConnected();

  const std::string name;
  std::chrono::steady_clock::time_point waitsUntil;
  std::shared_ptr<DisplayAccess> answer;  // written by the attempt, read when that is over
  std::unique_ptr<DisplayAttempt> attempt;
};

}  // namespace quorvin
