#pragma once

#include <glib.h>

#include <memory>

#include "platform/linux/dispatch/DispatchBacklog.h"

namespace quorvin {

// Runs a backlog on the main thread's thread-default GLib main context for as long as this object
// exists. Main thread.
//
// After each turn the source sits out one iteration of the context, so that tasks which keep
// bringing further tasks leave every other source its turn, those of lower priority included.
class DispatchMainSource {
 public:
  explicit DispatchMainSource(DispatchBacklog& backlog);
  DispatchMainSource(const DispatchMainSource&) = delete;
  DispatchMainSource& operator=(const DispatchMainSource&) = delete;
  ~DispatchMainSource();

  // What makes that context, when it sleeps, look at its sources again. Made on the main thread,
  // run on any.
  [[nodiscard]] static Task wakeContext();

 private:
  GSource* source;
};

}  // namespace quorvin
