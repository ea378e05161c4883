#pragma once

#include <glib.h>

#include <chrono>
#include <functional>
#include <memory>

#include "platform/unix/GlibPtr.h"

namespace quorvin {

// A source on a GLib main context (https://docs.gtk.org/glib/main-loop.html): its handler runs in
// that context's thread, of which null stands for the default one, until it answers `finished` or
// this handle is cancelled or gone. The handler may cancel or destroy its own handle. Belongs to
// the thread of the context.
class MainLoopSource {
 public:
  enum class Next { again, finished };
  using Handler = std::function<Next()>;

  // Handlers that run once, or again for as long as they return true.
  [[nodiscard]] static Handler once(std::function<void()> task);
  [[nodiscard]] static Handler whileTrue(std::function<bool()> task);

  MainLoopSource() = default;

  // Runs while the descriptor, which stays open for as long, is in one of the conditions.
  [[nodiscard]] static MainLoopSource onDescriptor(GMainContext* context, int descriptor,
                                                   GIOCondition conditions, Handler handler);
  // Runs in a later turn, once nothing of a more urgent priority is ready.
  [[nodiscard]] static MainLoopSource onTurn(GMainContext* context, int priority, Handler handler);
  [[nodiscard]] static MainLoopSource onTimeout(GMainContext* context,
                                                std::chrono::milliseconds delay, Handler handler);
  // Runs in the loop, not in a signal handler, after the process got the signal.
  [[nodiscard]] static MainLoopSource onSignal(GMainContext* context, int signal, Handler handler);

  void cancel() { source.reset(); }
  [[nodiscard]] bool isActive() const;

 private:
  struct Cancel {
    void operator()(GSource* cancelled) const;
  };

  explicit MainLoopSource(GSource* source) : source(source) {}
  static MainLoopSource attach(GMainContext* context, GSource* source, GSourceFunc function,
                               Handler handler);

  std::unique_ptr<GSource, Cancel> source;
};

// A GLib main context for the main thread, and its thread-default one while this lives. The
// process's default context is left to GTK, which knows no other and has a thread of its own.
// Made and destroyed on the main thread.
class MainContext {
 public:
  MainContext() : context(g_main_context_new()) {
    g_main_context_push_thread_default(context.get());
  }
  ~MainContext() { g_main_context_pop_thread_default(context.get()); }

  [[nodiscard]] GMainContext* get() const { return context.get(); }

 private:
  GlibPtr<GMainContext> context;
};

}  // namespace quorvin
