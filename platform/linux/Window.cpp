#include "platform/linux/Window.h"

#include <cmath>
#include <utility>

#include "platform/Fatal.h"
#include "platform/linux/NoticeView.h"

namespace quorvin {
namespace {

// GTK's units are points: it scales them for dense displays itself.
int wholePoints(double points) {
  return static_cast<int>(std::lround(points));
}

}  // namespace

LinuxWindow::LinuxWindow(std::function<void()> onClose)
    : onClose(std::move(onClose)), widget(gtk_window_new(GTK_WINDOW_TOPLEVEL)) {
  g_signal_connect(widget.get(), "delete-event", G_CALLBACK(&LinuxWindow::onDeleteEvent), this);
}

// The window is not GTK's to destroy: it stays alive, only hidden.
gboolean LinuxWindow::onDeleteEvent(GtkWidget* /*widget*/, GdkEvent* /*event*/,
                                    gpointer window) noexcept {
  auto& closed = *static_cast<LinuxWindow*>(window);
  closed.orderOut();
  closed.onClose();
  return TRUE;
}

void LinuxWindow::setContentViewController(std::shared_ptr<FlutterViewController> controller) {
  auto own = std::dynamic_pointer_cast<LinuxFlutterViewController>(std::move(controller));
  if (own == nullptr) fatalError("A window needs a view controller of this system.");
  if (content == nullptr) gtk_container_add(GTK_CONTAINER(widget.get()), makeNoticeView());
  content = std::move(own);
}

void LinuxWindow::setContentSize(Size size) {
  auto* window = GTK_WINDOW(widget.get());
  gtk_window_set_default_size(window, wholePoints(size.width), wholePoints(size.height));
  gtk_window_resize(window, wholePoints(size.width), wholePoints(size.height));
}

void LinuxWindow::center() {
  gtk_window_set_position(GTK_WINDOW(widget.get()), GTK_WIN_POS_CENTER);
}

void LinuxWindow::setContentMinSize(Size size) {
  GdkGeometry geometry{};
  geometry.min_width = wholePoints(size.width);
  geometry.min_height = wholePoints(size.height);
  gtk_window_set_geometry_hints(GTK_WINDOW(widget.get()), nullptr, &geometry, GDK_HINT_MIN_SIZE);
}

void LinuxWindow::setTitle(const std::string& title) {
  gtk_window_set_title(GTK_WINDOW(widget.get()), title.c_str());
}

void LinuxWindow::setAlphaValue(double alpha) {
  gtk_widget_set_opacity(widget.get(), alpha);
}

void LinuxWindow::orderOut() {
  wasOrderedOut = true;
  gtk_widget_hide(widget.get());
}

void LinuxWindow::showAfterLoading() {
  if (!wasOrderedOut) gtk_window_present(GTK_WINDOW(widget.get()));
}

void LinuxWindow::setInTaskbar(bool isInTaskbar) {
  auto* window = GTK_WINDOW(widget.get());
  gtk_window_set_skip_taskbar_hint(window, isInTaskbar ? FALSE : TRUE);
  gtk_window_set_skip_pager_hint(window, isInTaskbar ? FALSE : TRUE);
}

}  // namespace quorvin
