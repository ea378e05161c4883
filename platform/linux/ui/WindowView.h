#pragma once

#include <gtk/gtk.h>

#include <functional>
#include <string>

#include "platform/Application.h"

namespace quorvin {

// The GTK side of a window: a notice in place of the content, which lives in another program.
// Everything here, and `onClose`, runs on the GTK thread; only construction and destruction may be
// anywhere, and neither touches GTK.
class WindowView {
 public:
  // `onClose` is called when the user has closed the window, which is hidden then.
  explicit WindowView(std::function<void()> onClose) : onClose(std::move(onClose)) {}
  WindowView(const WindowView&) = delete;
  WindowView& operator=(const WindowView&) = delete;
  ~WindowView() = default;

  // The first and the last call.
  void create();
  void destroy();

  void addNotice();
  void setContentSize(Size size);
  void center();
  void setContentMinSize(Size size);
  void setTitle(const std::string& title);
  void setOpacity(double opacity);
  void setInTaskbar(bool isInTaskbar);
  void show();
  void hide();

 private:
  static gboolean onDeleteEvent(GtkWidget* widget, GdkEvent* event, gpointer view) noexcept;
  [[nodiscard]] GtkWindow* window() const { return GTK_WINDOW(widget); }

  std::function<void()> onClose;
  GtkWidget* widget = nullptr;
};

}  // namespace quorvin
