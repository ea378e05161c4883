#pragma once

#include <optional>
#include <string>

#include "platform/Error.h"
#include "platform/unix/FileDescriptor.h"

namespace quorvin {

// Lets one process of an account at a time change what belongs together: the settings, the login
// agent and the agent's file. Whatever changes one of them takes the lock first, and the process
// keeps it until its end, so that two commands come one after the other and not in between each
// other. The lock is a file beside the settings. It and its folder are made private, so that no
// other account can take it.
class AccountLock {
 public:
  explicit AccountLock(std::string path);

  // Waits up to five seconds for its turn, then throws an Error; every later call throws it again,
  // so that nothing is done of a command whose beginning was not. Makes the file if need be.
  void take();
  // The same, but leaves no trace on an account where nobody has ever changed anything. When
  // somebody begins to after that, take() throws.
  void takeIfThere();

 private:
  void waitForTurn(FileDescriptor opened);

  std::string path;
  FileDescriptor held;
  bool wasMissing = false;
  std::optional<Error> refusal;
};

}  // namespace quorvin
