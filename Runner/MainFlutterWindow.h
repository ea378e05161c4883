#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "Runner/QuorvinHostBridge.h"
#include "platform/Platform.h"

namespace quorvin {

// The application's only window: shows the user interface, owns the bridge to it, and tells it
// whether anybody can see it. Main thread.
class MainFlutterWindow final : public MainWindow,
                                public std::enable_shared_from_this<MainFlutterWindow> {
 public:
  // The platform and the window outlive the object.
  static std::shared_ptr<MainFlutterWindow> make(Platform& platform, Window& window);
  ~MainFlutterWindow() override;

  void awakeFromNib(const std::function<void()>& superAwakeFromNib) override;

 private:
  MainFlutterWindow(Platform& platform, Window& window);

  void setUpWindow(const std::shared_ptr<FlutterViewController>& controller);
  void observeApplication();
  void observeWindow();
  void observeLifecycle(Notification name, NotificationSender* object);
  void queueSynchronization();
  void synchronizeFlutterLifecycle();

  Platform& platform;
  Window& window;
  std::shared_ptr<QuorvinHostBridge> hostBridge;
  std::unique_ptr<FlutterBasicMessageChannel> lifecycleChannel;
  std::vector<std::shared_ptr<NotificationObserver>> lifecycleObservers;
};

}  // namespace quorvin
