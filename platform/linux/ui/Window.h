#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/Application.h"
#include "platform/Dispatch.h"
#include "platform/linux/ui/Flutter.h"

namespace quorvin {

class GtkThread;
class WindowView;

// A window on the GTK thread, in the hands of the main thread; nothing here waits for it.
class LinuxWindow final : public Window {
 public:
  // `onClose` is called on the main queue when the user has closed the window, which is ordered out
  // then. The thread outlives this object.
  LinuxWindow(const GtkThread& thread, const std::shared_ptr<DispatchQueue>& mainQueue,
              std::function<void()> onClose);
  ~LinuxWindow() override;

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
  void onViewThread(std::function<void(WindowView&)> task);

  const GtkThread& thread;
  std::shared_ptr<const std::function<void()>> onClose;
  std::shared_ptr<WindowView> windowView;
  std::shared_ptr<LinuxFlutterViewController> content;
  bool wasOrderedOut = false;
};

}  // namespace quorvin
