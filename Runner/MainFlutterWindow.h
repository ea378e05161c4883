#pragma once

#include <memory>

#include "Runner/QuorvinHostBridge.h"
#include "platform/Platform.h"

namespace quorvin {

// The application's only window: shows the user interface and owns the bridge to it. Main thread.
class MainFlutterWindow final : public MainWindow {
 public:
  MainFlutterWindow(Platform& platform, Window& window);

  void awakeFromNib() override;

 private:
  Platform& platform;
  Window& window;
  std::shared_ptr<QuorvinHostBridge> hostBridge;
};

}  // namespace quorvin
