#include "platform/linux/ui/Window.h"

#include <utility>

#include "platform/Fatal.h"
#include "platform/linux/ui/GtkThread.h"
#include "platform/linux/ui/WindowView.h"

namespace quorvin {

LinuxWindow::LinuxWindow(const GtkThread& thread, const std::shared_ptr<DispatchQueue>& mainQueue,
                         std::function<void()> onClose)
    : thread(thread),
      onClose(std::make_shared<const std::function<void()>>(std::move(onClose))),
      // By the time the news is on the main thread the window may be gone.
      windowView(std::make_shared<WindowView>([mainQueue, weak = std::weak_ptr(this->onClose)] {
        mainQueue->async([weak] {
          if (const auto closed = weak.lock()) (*closed)();
        });
      })) {
  onViewThread([](WindowView& view) { view.create(); });
}

LinuxWindow::~LinuxWindow() {
  onViewThread([](WindowView& view) { view.destroy(); });
}

void LinuxWindow::onViewThread(std::function<void(WindowView&)> task) {
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
}

void LinuxWindow::showAfterLoading() {
  if (wasOrderedOut) return;
  onViewThread([](WindowView& view) { view.show(); });
}

void LinuxWindow::setInTaskbar(bool isInTaskbar) {
  onViewThread([isInTaskbar](WindowView& view) { view.setInTaskbar(isInTaskbar); });
}

}  // namespace quorvin
