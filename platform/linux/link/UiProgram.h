#pragma once

#include <gio/gio.h>

#include <chrono>
#include <stdexcept>
#include <string>

#include "platform/unix/FileDescriptor.h"
#include "platform/unix/GlibPtr.h"

namespace quorvin {

// Why the application cannot start on this system; one line for whoever started it.
class StartUpError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The user-interface program that this process has started, connected by a UI link. Main thread.
class UiProgram {
 public:
  // Throws StartUpError when the program cannot be started. A name without a slash is looked up
  // in PATH.
  explicit UiProgram(const std::string& program);
  // Makes sure that the program has ended: see `end`.
  ~UiProgram();

  // This side of the link; to be taken once.
  [[nodiscard]] FileDescriptor takeSocket() { return std::move(socket); }

  // Waits for the program to leave, as it does when its link is closed; one that stays is asked
  // to with SIGTERM after `timeout`, and killed after as long again. Whether it has failed: left
  // by itself with another status than 0, or by a signal.
  bool end(std::chrono::milliseconds timeout);

 private:
  [[nodiscard]] bool hasEndedWithin(std::chrono::milliseconds timeout);

  FileDescriptor socket;
  GlibPtr<GSubprocess> process;
};

}  // namespace quorvin
