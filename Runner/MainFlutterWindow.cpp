#include "Runner/MainFlutterWindow.h"

#include <string>
#include <string_view>

#include "Runner/GeneratedPlugins.h"
#include "Runner/UnattendedAccess.h"
#include "platform/Fatal.h"

namespace quorvin {

namespace {

constexpr Size contentSize{720, 640};

// What the user interface is told; the words are Flutter's own
// (https://api.flutter.dev/flutter/dart-ui/AppLifecycleState.html).
std::string_view lifecycleState(Application& application, Window& window) {
  if (application.isHidden() || !window.isVisible() || window.isMiniaturized()) return "hidden";
  if (application.isActive()) return "resumed";
  if ((window.occlusionState() & windowOcclusionStateVisible) != 0) return "inactive";
  return "hidden";
}

}  // namespace

std::shared_ptr<MainFlutterWindow> MainFlutterWindow::make(Platform& platform, Window& window) {
  return std::shared_ptr<MainFlutterWindow>(new MainFlutterWindow(platform, window));
}

MainFlutterWindow::MainFlutterWindow(Platform& platform, Window& window)
    : platform(platform), window(window) {}

MainFlutterWindow::~MainFlutterWindow() {
  for (const auto& observer : lifecycleObservers) {
    platform.notificationCenter.removeObserver(observer);
  }
}

void MainFlutterWindow::awakeFromNib(const std::function<void()>& superAwakeFromNib) {
  const auto controller = platform.flutter.makeViewController();
  setUpWindow(controller);
  registerGeneratedPlugins(*controller);
  const auto messenger = controller->binaryMessenger();
  hostBridge = QuorvinHostBridge::make(platform, messenger);
  lifecycleChannel = platform.flutter.makeBasicMessageChannel("flutter/lifecycle", messenger);
  observeApplication();
  observeWindow();
  superAwakeFromNib();
  queueSynchronization();
}

void MainFlutterWindow::setUpWindow(const std::shared_ptr<FlutterViewController>& controller) {
  window.setContentViewController(controller);
  window.setContentSize(contentSize);
  window.center();
  window.setContentMinSize(contentSize);
  window.setTitle("Quorvin Support");
  if (UnattendedAccess::unattendedRequested(platform) ||
      UnattendedAccess::managementCommandRequested(platform)) {
    window.setAlphaValue(0);
    window.orderOut();
  }
}

void MainFlutterWindow::observeApplication() {
  auto* application = platform.application.exists() ? &platform.application : nullptr;
  observeLifecycle(Notification::applicationDidBecomeActive, application);
  observeLifecycle(Notification::applicationDidResignActive, application);
  observeLifecycle(Notification::applicationDidHide, application);
  observeLifecycle(Notification::applicationDidUnhide, application);
  observeLifecycle(Notification::applicationDidChangeOcclusionState, application);
}

void MainFlutterWindow::observeWindow() {
  observeLifecycle(Notification::windowDidBecomeKey, &window);
  observeLifecycle(Notification::windowDidMiniaturize, &window);
  observeLifecycle(Notification::windowDidDeminiaturize, &window);
  observeLifecycle(Notification::windowDidChangeOcclusionState, &window);
}

void MainFlutterWindow::observeLifecycle(Notification name, NotificationSender* object) {
  lifecycleObservers.push_back(
      platform.notificationCenter.addObserver(name, object, [weak = weak_from_this()] {
        // The state is read a turn later, when the system's own flags have settled.
        if (auto self = weak.lock()) self->queueSynchronization();
      }));
}

void MainFlutterWindow::queueSynchronization() {
  platform.dispatch.mainQueue()->async([weak = weak_from_this()] {
    if (auto self = weak.lock()) self->synchronizeFlutterLifecycle();
  });
}

void MainFlutterWindow::synchronizeFlutterLifecycle() {
  if (!platform.application.exists()) fatalError("There is no application object.");
  if (lifecycleChannel == nullptr) return;
  lifecycleChannel->sendMessage("AppLifecycleState." +
                                std::string(lifecycleState(platform.application, window)));
}

}  // namespace quorvin
