#include "platform/unix/MainLoopSource.h"

#include <glib-unix.h>

#include <utility>

namespace quorvin {
namespace {

// An exception has no way through GLib's C frames, hence noexcept.
gboolean run(gpointer handler) noexcept {
  const auto next = (*static_cast<MainLoopSource::Handler*>(handler))();
  return next == MainLoopSource::Next::again ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE;
}

gboolean runForDescriptor(gint /*descriptor*/, GIOCondition /*condition*/,
                          gpointer handler) noexcept {
  return run(handler);
}

void discard(gpointer handler) noexcept {
  delete static_cast<MainLoopSource::Handler*>(handler);
}

}  // namespace

MainLoopSource::Handler MainLoopSource::once(std::function<void()> task) {
  return [task = std::move(task)] {
    task();
    return Next::finished;
  };
}

MainLoopSource::Handler MainLoopSource::whileTrue(std::function<bool()> task) {
  return [task = std::move(task)] {
    return task() ? Next::again : Next::finished;
  };
}

void MainLoopSource::Cancel::operator()(GSource* cancelled) const {
  g_source_destroy(cancelled);
  g_source_unref(cancelled);
}

bool MainLoopSource::isActive() const {
  return source != nullptr && g_source_is_destroyed(source.get()) == FALSE;
}

MainLoopSource MainLoopSource::attach(GMainContext* context, GSource* source, GSourceFunc function,
                                      Handler handler) {
  auto kept = std::make_unique<Handler>(std::move(handler));
  g_source_set_callback(source, function, kept.release(), &discard);
  g_source_attach(source, context);
  return MainLoopSource(source);
}

MainLoopSource MainLoopSource::onDescriptor(GMainContext* context, int descriptor,
                                            GIOCondition conditions, Handler handler) {
  auto* source = g_unix_fd_source_new(descriptor, conditions);
  // Otherwise GLib takes the descriptor out of the loop for each call, which rouses the loop twice.
  // No handler runs the loop itself.
  g_source_set_can_recurse(source, TRUE);
  // GLib calls a descriptor source's function with its real signature.
  return attach(context, source, G_SOURCE_FUNC(&runForDescriptor), std::move(handler));
}

MainLoopSource MainLoopSource::onTurn(GMainContext* context, int priority, Handler handler) {
  auto* source = g_idle_source_new();
  g_source_set_priority(source, priority);
  return attach(context, source, &run, std::move(handler));
}

MainLoopSource MainLoopSource::onTimeout(GMainContext* context, std::chrono::milliseconds delay,
                                         Handler handler) {
  return attach(context, g_timeout_source_new(static_cast<guint>(delay.count())), &run,
                std::move(handler));
}

MainLoopSource MainLoopSource::onSignal(GMainContext* context, int signal, Handler handler) {
  return attach(context, g_unix_signal_source_new(signal), &run, std::move(handler));
}

}  // namespace quorvin
