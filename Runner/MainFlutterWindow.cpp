#include "Runner/MainFlutterWindow.h"

#include "Runner/UnattendedAccess.h"

namespace quorvin {

namespace {

constexpr Size contentSize{720, 640};

}  // namespace

MainFlutterWindow::MainFlutterWindow(Platform& platform, Window& window)
    : platform(platform), window(window) {}

void MainFlutterWindow::awakeFromNib() {
  const auto controller = platform.flutter.makeViewController();
  window.setContentViewController(controller);
  window.setContentSize(contentSize);
  window.center();
  window.setContentMinSize(contentSize);
  window.setTitle("Quorvin Support");
  if (UnattendedAccess::unattendedRequested(platform)) {
    window.setAlphaValue(0);
    window.orderOut();
  }
  hostBridge = QuorvinHostBridge::make(platform, controller->binaryMessenger());
}

}  // namespace quorvin
