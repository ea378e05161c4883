#pragma once

#include <glib.h>

#include <chrono>
#include <functional>

namespace quorvin::webui {

// Runs the main loop until the condition holds; false if it does not within half a minute.
inline bool runUntil(const std::function<bool()>& condition) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  // Wakes the loop now and then, so that the deadline is noticed when nothing happens.
  const guint waker = g_timeout_add(
      20, [](gpointer) -> gboolean { return TRUE; }, nullptr);
  bool holds = condition();
  while (!holds && std::chrono::steady_clock::now() < deadline) {
    g_main_context_iteration(nullptr, TRUE);
    holds = condition();
  }
  g_source_remove(waker);
  return holds;
}

}  // namespace quorvin::webui
