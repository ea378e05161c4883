#include "webui/EventSource.h"

#include <glib-unix.h>

namespace quorvin::webui {

namespace {

using Callback = std::function<bool()>;

gboolean call(gpointer callback) {
  return (*static_cast<Callback*>(callback))() ? TRUE : FALSE;
}

gboolean callForDescriptor(gint /*descriptor*/, GIOCondition /*conditions*/, gpointer callback) {
  return call(callback);
}

void destroy(gpointer callback) {
  delete static_cast<Callback*>(callback);
}

GSource* attach(GSource* source, GSourceFunc function, Callback callback) {
  g_source_set_callback(source, function, new Callback(std::move(callback)), destroy);
  g_source_attach(source, nullptr);
  return source;
}

}  // namespace

EventSource EventSource::every(std::chrono::milliseconds interval, Callback callback) {
  return EventSource(attach(g_timeout_source_new(static_cast<guint>(interval.count())), call,
                            std::move(callback)));
}

EventSource EventSource::once(std::chrono::milliseconds delay, std::function<void()> callback) {
  return every(delay, [callback = std::move(callback)] {
    callback();
    return false;
  });
}

EventSource EventSource::onDescriptor(int descriptor, GIOCondition conditions, Callback callback) {
  // GLib asks for descriptor callbacks in this disguise: each source calls them with the type
  // that it documents.
  return EventSource(
      attach(g_unix_fd_source_new(descriptor, conditions),
             reinterpret_cast<GSourceFunc>(reinterpret_cast<void (*)()>(callForDescriptor)),
             std::move(callback)));
}

EventSource EventSource::onSignal(int signalNumber, Callback callback) {
  return EventSource(attach(g_unix_signal_source_new(signalNumber), call, std::move(callback)));
}

bool EventSource::pending() const {
  return source != nullptr && g_source_is_destroyed(source) == FALSE;
}

void EventSource::cancel() {
  if (source == nullptr) return;
  GSource* cancelled = std::exchange(source, nullptr);
  g_source_destroy(cancelled);
  g_source_unref(cancelled);
}

}  // namespace quorvin::webui
