#pragma once

#include "platform/unix/FileDescriptor.h"

namespace quorvin {

// Rouses a thread that waits in poll. Any thread.
class CaptureWakeup {
 public:
  // Throws Error when no descriptor is left.
  CaptureWakeup();

  void signal();
  // Forgets the signals so far; `descriptor` is readable from the first one after that.
  void clear();
  [[nodiscard]] int descriptor() const { return counter.get(); }

 private:
  FileDescriptor counter;
};

}  // namespace quorvin
