#pragma once

#include <chrono>
#include <functional>
#include <thread>

namespace quorvin::launchctl {

// Whether a condition comes true at some time soon.
[[nodiscard]] inline bool becomesTrue(const std::function<bool()>& condition) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(40);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > deadline) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return true;
}

}  // namespace quorvin::launchctl
