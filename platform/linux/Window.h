#pragma once

#include <gtk/gtk.h>

#include <functional>
#include <memory>
#include <string>

#include "platform/Application.h"
#include "platform/linux/Flutter.h"

namespace quorvin {

// A GTK window. It shows a notice instead of its content, which lives in another program. Main
// thread.
class LinuxWindow final : public Window {
 public:
  // `onClose` is called when the user closes the window, which is ordered out by then.
  explicit LinuxWindow(std::function<void()> onClose);
  ~LinuxWindow() override = default;

  void setContentViewController(std::shared_ptr<FlutterViewController> controller) override;
  void setContentSize(Size size) override;
  void center() override;
  void setContentMinSize(Size size) override;
  void setTitle(const std::string& title) override;
  void setAlphaValue(double alpha) override;
  // Leaves neither the window nor an entry in the task bar.
  void orderOut() override;

  // Puts the window on the screen for the first time, unless it was ordered out before.
  void showAfterLoading();
  void setInTaskbar(bool isInTaskbar);

  // The view controller set last, null before.
  [[nodiscard]] std::shared_ptr<LinuxFlutterViewController> engineController() const {
    return content;
  }

 private:
  struct Destroy {
    void operator()(GtkWidget* owned) const { gtk_widget_destroy(owned); }
  };

  static gboolean onDeleteEvent(GtkWidget* widget, GdkEvent* event, gpointer window) noexcept;

  std::function<void()> onClose;
  std::unique_ptr<GtkWidget, Destroy> widget;
  std::shared_ptr<LinuxFlutterViewController> content;
  bool wasOrderedOut = false;
};

}  // namespace quorvin
