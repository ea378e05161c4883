#include "platform/linux/ui/Window.h"

#include <cassert>
#include <utility>

#include "platform/Fatal.h"
#include "platform/linux/ui/GtkThread.h"
#include "platform/linux/ui/NotificationCenter.h"

namespace quorvin {

LinuxWindow::LinuxWindow(const GtkThread& thread, std::shared_ptr<DispatchQueue> mainQueue,
                         LinuxNotificationCenter& notificationCenter, Callbacks callbacks)
    : thread(thread),
      notificationCenter(notificationCenter),
      callbacks(std::move(callbacks)),
      windowView(std::make_shared<WindowView>(viewCallbacks(std::move(mainQueue)))) {
  onViewThread([](WindowView& view) { view.create(); });
}

LinuxWindow::~LinuxWindow() {
  onViewThread([](WindowView& view) { view.destroy(); });
}

// What the view tells on its own thread, as tasks of the main queue.
WindowView::Callbacks LinuxWindow::viewCallbacks(std::shared_ptr<DispatchQueue> mainQueue) {
  const auto post = [mainQueue = std::move(mainQueue),
                     weak = std::weak_ptr(self)](std::function<void(LinuxWindow&)> task) {
    mainQueue->async([weak, task = std::move(task)] {
      if (const auto window = weak.lock()) task(**window);
    });
  };
  return {.onClose = [post] { post([](LinuxWindow& window) { window.callbacks.onClose(); }); },
          .onStateChange =
              [post](const WindowState& now) {
                post([now](LinuxWindow& window) { window.setState(now); });
              }};
}

void LinuxWindow::onViewThread(std::function<void(WindowView&)> task) {
  assert(mainThread.isCurrent());
  thread.post([kept = windowView, task = std::move(task)] { task(*kept); });
}

void LinuxWindow::setContentViewController(std::shared_ptr<FlutterViewController> controller) {
  auto own = std::dynamic_pointer_cast<LinuxFlutterViewController>(std::move(controller));
  if (own == nullptr) fatalError("A window needs a view controller of this system.");
  if (content == nullptr) {
    onViewThread([](WindowView& view) { view.addNotice(); });
  }
  content = std::move(own);
}

void LinuxWindow::setContentSize(Size size) {
  onViewThread([size](WindowView& view) { view.setContentSize(size); });
}

void LinuxWindow::center() {
  onViewThread([](WindowView& view) { view.center(); });
}

void LinuxWindow::setContentMinSize(Size size) {
  onViewThread([size](WindowView& view) { view.setContentMinSize(size); });
}

void LinuxWindow::setTitle(const std::string& title) {
  onViewThread([title](WindowView& view) { view.setTitle(title); });
}

void LinuxWindow::setAlphaValue(double alpha) {
  onViewThread([alpha](WindowView& view) { view.setOpacity(alpha); });
}

void LinuxWindow::orderOut() {
  wasOrderedOut = true;
  onViewThread([](WindowView& view) { view.hide(); });
  setState(state);
}

std::uint64_t LinuxWindow::occlusionState() {
  return state.isSeen() ? windowOcclusionStateVisible : 0;
}

void LinuxWindow::setState(WindowState now) {
  assert(mainThread.isCurrent());
  // The view may not have heard yet.
  if (wasOrderedOut) now.isShown = false;
  const auto former = std::exchange(state, now);
  callbacks.onStateChange(former, now);
  for (const auto name : windowNotifications(former, now)) notificationCenter.post(name, *this);
}

void LinuxWindow::showAfterLoading() {
  if (wasOrderedOut) return;
  onViewThread([](WindowView& view) { view.show(); });
}

void LinuxWindow::setInTaskbar(bool isInTaskbar) {
  onViewThread([isInTaskbar](WindowView& view) { view.setInTaskbar(isInTaskbar); });
}

}  // namespace quorvin
