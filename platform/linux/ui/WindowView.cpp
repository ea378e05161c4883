#include "platform/linux/ui/WindowView.h"

#include <cassert>
#include <cmath>
#include <utility>

#include "platform/linux/ui/NoticeView.h"

namespace quorvin {

std::vector<Notification> windowNotifications(const WindowState& former, const WindowState& now) {
  std::vector<Notification> all;
  if (now.hasFocus && !former.hasFocus) all.push_back(Notification::windowDidBecomeKey);
  if (now.isIconified != former.isIconified) {
    all.push_back(now.isIconified ? Notification::windowDidMiniaturize
                                  : Notification::windowDidDeminiaturize);
  }
  if (now.isSeen() != former.isSeen()) {
    all.push_back(Notification::windowDidChangeOcclusionState);
  }
  return all;
}

std::vector<Notification> applicationNotifications(const WindowState& former,
                                                   const WindowState& now) {
  std::vector<Notification> all;
  if (now.hasFocus != former.hasFocus) {
    all.push_back(now.hasFocus ? Notification::applicationDidBecomeActive
                               : Notification::applicationDidResignActive);
  }
  if (now.isSeen() != former.isSeen()) {
    all.push_back(Notification::applicationDidChangeOcclusionState);
  }
  return all;
}

namespace {

// GTK's units are points: it scales them for dense displays itself.
int wholePoints(double points) {
  return static_cast<int>(std::lround(points));
}

}  // namespace

void WindowView::create() {
  assert(thread.isCurrent());
  widget = gtk_window_new(GTK_WINDOW_TOPLEVEL);
  g_signal_connect(widget, "delete-event", G_CALLBACK(&WindowView::onDeleteEvent), this);
  watchState();
}

void WindowView::destroy() {
  assert(thread.isCurrent());
  gtk_widget_destroy(std::exchange(widget, nullptr));
}

// The window is not GTK's to destroy: it stays alive, only hidden.
gboolean WindowView::onDeleteEvent(GtkWidget* /*widget*/, GdkEvent* /*event*/,
                                   gpointer view) noexcept {
  auto& closed = *static_cast<WindowView*>(view);
  closed.hide();
  closed.callbacks.onClose();
  return TRUE;
}

void WindowView::watchState() {
  gtk_widget_add_events(widget, GDK_VISIBILITY_NOTIFY_MASK);
  g_signal_connect(widget, "window-state-event", G_CALLBACK(&WindowView::onStateEvent), this);
  g_signal_connect(widget, "notify::is-active", G_CALLBACK(&WindowView::onActiveChange), this);
  g_signal_connect(widget, "visibility-notify-event", G_CALLBACK(&WindowView::onVisibilityEvent),
                   this);
  g_signal_connect(widget, "unmap-event", G_CALLBACK(&WindowView::onUnmapEvent), this);
}

gboolean WindowView::onStateEvent(GtkWidget* /*widget*/, GdkEventWindowState* event,
                                  gpointer view) noexcept {
  auto& own = *static_cast<WindowView*>(view);
  const auto has = [flags = event->new_window_state](GdkWindowState flag) {
    return (flags & flag) != 0;
  };
  auto now = own.state;
  now.isShown = !has(GDK_WINDOW_STATE_WITHDRAWN);
  now.isIconified = has(GDK_WINDOW_STATE_ICONIFIED);
  own.setState(now);
  return FALSE;
}

// Whether it is "focused" by the state above depends on what the window manager supports.
void WindowView::onActiveChange(GtkWindow* window, GParamSpec* /*property*/,
                                gpointer view) noexcept {
  auto& own = *static_cast<WindowView*>(view);
  auto now = own.state;
  now.hasFocus = gtk_window_is_active(window) != FALSE;
  own.setState(now);
}

// The X server tells of it whenever a window becomes viewable, and of every change from then on
// (https://tronche.com/gui/x/xlib/events/window-state-change/visibility.html).
gboolean WindowView::onVisibilityEvent(GtkWidget* /*widget*/, GdkEventVisibility* event,
                                       gpointer view) noexcept {
  auto& own = *static_cast<WindowView*>(view);
  auto now = own.state;
  now.isUncovered = event->state != GDK_VISIBILITY_FULLY_OBSCURED;
  own.setState(now);
  return FALSE;
}

// Minimised, on a desktop that is not shown, or withdrawn: no visibility event tells of that.
gboolean WindowView::onUnmapEvent(GtkWidget* /*widget*/, GdkEventAny* /*event*/,
                                  gpointer view) noexcept {
  auto& own = *static_cast<WindowView*>(view);
  auto now = own.state;
  now.isUncovered = false;
  own.setState(now);
  return FALSE;
}

void WindowView::setState(const WindowState& now) {
  assert(thread.isCurrent());
  if (now == state) return;
  state = now;
  callbacks.onStateChange(state);
}

void WindowView::addNotice() {
  gtk_container_add(GTK_CONTAINER(widget), makeNoticeView());
}

void WindowView::setContentSize(Size size) {
  gtk_window_set_default_size(window(), wholePoints(size.width), wholePoints(size.height));
  gtk_window_resize(window(), wholePoints(size.width), wholePoints(size.height));
}

void WindowView::center() {
  gtk_window_set_position(window(), GTK_WIN_POS_CENTER);
}

void WindowView::setContentMinSize(Size size) {
  GdkGeometry geometry{};
  geometry.min_width = wholePoints(size.width);
  geometry.min_height = wholePoints(size.height);
  gtk_window_set_geometry_hints(window(), nullptr, &geometry, GDK_HINT_MIN_SIZE);
}

void WindowView::setTitle(const std::string& title) {
  gtk_window_set_title(window(), title.c_str());
}

void WindowView::setOpacity(double opacity) {
  gtk_widget_set_opacity(widget, opacity);
}

void WindowView::setInTaskbar(bool isInTaskbar) {
  gtk_window_set_skip_taskbar_hint(window(), isInTaskbar ? FALSE : TRUE);
  gtk_window_set_skip_pager_hint(window(), isInTaskbar ? FALSE : TRUE);
}

void WindowView::show() {
  gtk_window_present(window());
}

void WindowView::hide() {
  gtk_widget_hide(widget);
}

}  // namespace quorvin
