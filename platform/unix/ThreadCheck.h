#pragma once

#include <thread>

namespace quorvin {

// To assert that an object is used by one thread alone: by the one that asked first.
class ThreadCheck {
 public:
  [[nodiscard]] bool isCurrent() {
    if (thread == std::thread::id()) thread = std::this_thread::get_id();
    return thread == std::this_thread::get_id();
  }

 private:
  std::thread::id thread;
};

}  // namespace quorvin
