#pragma once

#include <glib.h>

#include "platform/unix/GlibPtr.h"

namespace quorvin {

// A GLib main context for the main thread, and its thread-default one while this lives. The
// process's default context is left to GTK, which knows no other and has a thread of its own.
// Made and destroyed on the main thread.
class MainContext {
 public:
  MainContext() : context(g_main_context_new()) {
    g_main_context_push_thread_default(context.get());
  }
  MainContext(const MainContext&) = delete;
  MainContext& operator=(const MainContext&) = delete;
  ~MainContext() { g_main_context_pop_thread_default(context.get()); }

  [[nodiscard]] GMainContext* get() const { return context.get(); }

 private:
  GlibPtr<GMainContext> context;
};

}  // namespace quorvin
