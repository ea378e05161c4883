#include "platform/linux/dispatch/DispatchMainSource.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>

namespace quorvin {
namespace {

// GLib makes and frees the memory, so this stays plain data that begins with a GSource.
struct Source {
  GSource base;
  DispatchBacklog* backlog;
  bool isResting;
};

Source& of(GSource* source) {
  return *reinterpret_cast<Source*>(source);
}

// Whole milliseconds, rounded up, since the context cannot sleep for less; -1 for no end.
gint sleepMs(std::optional<std::uint64_t> dueNs) {
  constexpr std::uint64_t nsPerMs = 1'000'000;
  constexpr std::uint64_t longest = std::numeric_limits<gint>::max();
  if (!dueNs) return -1;
  const auto nowNs = monotonicNanoseconds();
  if (*dueNs <= nowNs) return 0;
  return static_cast<gint>(std::min((*dueNs - nowNs - 1) / nsPerMs + 1, longest));
}

// An exception has no way through GLib's C frames, hence noexcept.
gboolean prepare(GSource* source, gint* timeoutMs) noexcept {
  *timeoutMs = sleepMs(of(source).backlog->nextDueNs());
  return *timeoutMs == 0 && !of(source).isResting ? TRUE : FALSE;
}

gboolean check(GSource* source) noexcept {
  if (of(source).isResting) {
    of(source).isResting = false;
    return FALSE;
  }
  return sleepMs(of(source).backlog->nextDueNs()) == 0 ? TRUE : FALSE;
}

gboolean dispatch(GSource* source, GSourceFunc /*callback*/, gpointer /*data*/) noexcept {
  of(source).isResting = true;
  of(source).backlog->runTurn();
  return G_SOURCE_CONTINUE;
}

std::shared_ptr<GMainContext> threadDefaultContext() {
  return {g_main_context_ref_thread_default(), &g_main_context_unref};
}

}  // namespace

DispatchMainSource::DispatchMainSource(DispatchBacklog& backlog) {
  static GSourceFuncs functions{&prepare, &check, &dispatch, nullptr, nullptr, nullptr};
  source = g_source_new(&functions, sizeof(Source));
  of(source).backlog = &backlog;
  of(source).isResting = false;
  g_source_set_static_name(source, "main queue");
  const auto context = threadDefaultContext();
  g_source_attach(source, context.get());
}

DispatchMainSource::~DispatchMainSource() {
  g_source_destroy(source);
  g_source_unref(source);
}

Task DispatchMainSource::wakeContext() {
  return [context = threadDefaultContext()] {
    g_main_context_wakeup(context.get());
  };
}

}  // namespace quorvin
