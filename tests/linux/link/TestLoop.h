#pragma once

#include <glib.h>

#include <chrono>
#include <functional>

#include "platform/unix/MainLoopSource.h"

namespace quorvin {

// A main context of the test's own, which is its thread's default one meanwhile.
class TestLoop {
 public:
  [[nodiscard]] GMainContext* context() const { return owned.get(); }

  // Iterates until the condition holds; false when it does not within `timeout`.
  bool runUntil(const std::function<bool()>& condition,
                std::chrono::milliseconds timeout = std::chrono::seconds(30)) const {
    bool expired = false;
    const auto deadline = MainLoopSource::onTimeout(context(), timeout, [&expired] {
      expired = true;
      return MainLoopSource::Next::finished;
    });
    // The condition may itself move things on, by reading what the loop has written.
    const auto beat = MainLoopSource::onTimeout(context(), std::chrono::milliseconds(1),
                                                [] { return MainLoopSource::Next::again; });
    while (!condition()) {
      if (expired) return false;
      g_main_context_iteration(context(), TRUE);
    }
    return true;
  }

  // Iterates until nothing is ready any more.
  void runUntilIdle() const {
    while (g_main_context_iteration(context(), FALSE) != FALSE) {
    }
  }

 private:
  MainContext owned;
};

}  // namespace quorvin
