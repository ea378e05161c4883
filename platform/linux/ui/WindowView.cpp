#include "platform/linux/ui/WindowView.h"

#include <cmath>
#include <utility>

#include "platform/linux/ui/NoticeView.h"

namespace quorvin {
namespace {

// GTK's units are points: it scales them for dense displays itself.
int wholePoints(double points) {
  return static_cast<int>(std::lround(points));
}

}  // namespace

void WindowView::create() {
  widget = gtk_window_new(GTK_WINDOW_TOPLEVEL);
  g_signal_connect(widget, "delete-event", G_CALLBACK(&WindowView::onDeleteEvent), this);
}

void WindowView::destroy() {
  gtk_widget_destroy(std::exchange(widget, nullptr));
}

// The window is not GTK's to destroy: it stays alive, only hidden.
gboolean WindowView::onDeleteEvent(GtkWidget* /*widget*/, GdkEvent* /*event*/,
                                   gpointer view) noexcept {
  auto& closed = *static_cast<WindowView*>(view);
  closed.hide();
  closed.onClose();
  return TRUE;
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
