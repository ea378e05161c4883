#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "platform/Application.h"
#include "platform/Dispatch.h"
#include "platform/linux/link/Flutter.h"
#include "platform/linux/ui/WindowView.h"
#include "platform/unix/ThreadCheck.h"

namespace quorvin {

class GtkThread;
class LinuxNotificationCenter;

// A window on the GTK thread, in the hands of the main thread; nothing here waits for it. What the
// main thread knows of its state comes by way of the main queue and is what was last heard.
class LinuxWindow final : public Window {
 public:
  // Both are called on the main thread.
  struct Callbacks {
    std::function<void()> onClose;  // the user has closed the window, which is hidden then
    // Called once the new state can be read from the window, before the window posts anything.
    std::function<void(const WindowState& former, const WindowState& now)> onStateChange;
  };

  // The thread and the notification center outlive this object.
  LinuxWindow(const GtkThread& thread, std::shared_ptr<DispatchQueue> mainQueue,
              LinuxNotificationCenter& notificationCenter, Callbacks callbacks);
  ~LinuxWindow() override;

  void setContentViewController(std::shared_ptr<FlutterViewController> controller) override;
  void setContentSize(Size size) override;
  void center() override;
  void setContentMinSize(Size size) override;
  void setTitle(const std::string& title) override;
  void setAlphaValue(double alpha) override;
  // Leaves neither the window nor an entry in the task bar.
  void orderOut() override;

  [[nodiscard]] bool isVisible() override { return state.isVisible(); }
  [[nodiscard]] bool isMiniaturized() override { return state.isIconified; }
  [[nodiscard]] std::uint64_t occlusionState() override;
  // Whether it has the input focus.
  [[nodiscard]] bool isKey() const { return state.hasFocus; }

  // Puts the window on the screen for the first time, unless it was ordered out before.
  void showAfterLoading();
  void setInTaskbar(bool isInTaskbar);

  // The view controller set last, null before.
  [[nodiscard]] std::shared_ptr<LinuxFlutterViewController> engineController() const {
    return content;
  }

 private:
  void onViewThread(std::function<void(WindowView&)> task);
  [[nodiscard]] WindowView::Callbacks viewCallbacks(std::shared_ptr<DispatchQueue> mainQueue);
  void setState(WindowState now);

  const GtkThread& thread;
  ThreadCheck mainThread;
  LinuxNotificationCenter& notificationCenter;
  Callbacks callbacks;
  // By the time that news of the view is on the main thread this object may be gone.
  std::shared_ptr<LinuxWindow* const> self = std::make_shared<LinuxWindow* const>(this);
  std::shared_ptr<WindowView> windowView;
  std::shared_ptr<LinuxFlutterViewController> content;
  WindowState state;
  bool wasOrderedOut = false;
};

}  // namespace quorvin
