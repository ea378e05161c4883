#import "platform/macos/Window.h"

#include "platform/Fatal.h"
#import "platform/macos/Bridging.h"
#import "platform/macos/Flutter.h"

namespace quorvin {

static_assert(windowOcclusionStateVisible == NSWindowOcclusionStateVisible);

MacWindow::MacWindow(NSWindow* window) : window(window) {}

void MacWindow::setContentViewController(std::shared_ptr<FlutterViewController> controller) {
  const auto* own = dynamic_cast<const MacFlutterViewController*>(controller.get());
  if (own == nullptr) fatalError("A window was given a view controller of another maker.");
  [window setContentViewController:own->controller()];
}

void MacWindow::setContentSize(Size size) {
  [window setContentSize:NSMakeSize(size.width, size.height)];
}

void MacWindow::center() { [window center]; }

void MacWindow::setContentMinSize(Size size) {
  [window setContentMinSize:NSMakeSize(size.width, size.height)];
}

void MacWindow::setTitle(const std::string& title) { [window setTitle:toNSString(title)]; }

void MacWindow::setAlphaValue(double alpha) { [window setAlphaValue:alpha]; }

void MacWindow::orderOut() { [window orderOut:nil]; }

bool MacWindow::isVisible() { return [window isVisible]; }

bool MacWindow::isMiniaturized() { return [window isMiniaturized]; }

std::uint64_t MacWindow::occlusionState() { return [window occlusionState]; }

}  // namespace quorvin
