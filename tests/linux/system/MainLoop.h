#pragma once

#include <glib.h>

#include <chrono>
#include <functional>

namespace quorvin {

constexpr std::chrono::seconds timeout{20};

// Runs the default main context in this thread until the condition holds; false when it did not
// within the time.
inline bool runMainLoopUntil(const std::function<bool()>& condition,
                             std::chrono::milliseconds limit = timeout) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  // Conditions that nothing on the context announces are looked at every few milliseconds.
  const guint tick = g_timeout_add(
      5, [](gpointer) -> gboolean { return G_SOURCE_CONTINUE; }, nullptr);
  while (!condition() && std::chrono::steady_clock::now() < deadline) {
    g_main_context_iteration(nullptr, TRUE);
  }
  g_source_remove(tick);
  return condition();
}

}  // namespace quorvin
