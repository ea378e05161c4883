#pragma once

#include <gtk/gtk.h>

#include <functional>
#include <string>
#include <vector>

#include "platform/Application.h"
#include "platform/unix/ThreadCheck.h"

namespace quorvin {

// What the X server and the window manager have told of a window.
struct WindowState {
  bool isShown = false;      // neither withdrawn nor not shown yet
  bool isIconified = false;  // minimised
  bool hasFocus = false;     // gets what is typed
  bool isUncovered = false;  // mapped, and some of it not covered by other windows

  // Whether it is open on some desktop.
  [[nodiscard]] bool isVisible() const { return isShown && !isIconified; }
  // Whether any of it can be seen.
  [[nodiscard]] bool isSeen() const { return isVisible() && isUncovered; }

  friend bool operator==(const WindowState&, const WindowState&) = default;
};

// What a window has to tell of a change, in order.
[[nodiscard]] std::vector<Notification> windowNotifications(const WindowState& former,
                                                            const WindowState& now);

// What an application has to tell whose only window has changed so: it is active while that has
// the focus, and seen when that is.
[[nodiscard]] std::vector<Notification> applicationNotifications(const WindowState& former,
                                                                 const WindowState& now);

// The GTK side of a window: a notice in place of the content, which lives in another program.
// Everything here, callbacks included, runs on the GTK thread; only construction and destruction
// may be anywhere, and neither touches GTK.
class WindowView {
 public:
  struct Callbacks {
    std::function<void()> onClose;  // the user has closed the window, which is hidden then
    std::function<void(const WindowState&)> onStateChange;
  };

  explicit WindowView(Callbacks callbacks) : callbacks(std::move(callbacks)) {}
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
  static gboolean onStateEvent(GtkWidget* widget, GdkEventWindowState* event,
                               gpointer view) noexcept;
  static void onActiveChange(GtkWindow* window, GParamSpec* property, gpointer view) noexcept;
  static gboolean onVisibilityEvent(GtkWidget* widget, GdkEventVisibility* event,
                                    gpointer view) noexcept;
  static gboolean onUnmapEvent(GtkWidget* widget, GdkEventAny* event, gpointer view) noexcept;

  void watchState();
  void setState(const WindowState& now);
  [[nodiscard]] GtkWindow* window() const { return GTK_WINDOW(widget); }

  ThreadCheck thread;
  Callbacks callbacks;
  GtkWidget* widget = nullptr;
  WindowState state;
};

}  // namespace quorvin
