#pragma once

#import <AppKit/AppKit.h>

#include <memory>
#include <vector>

#include "platform/Application.h"
#import "platform/macos/Notifications.h"
#include "platform/macos/Window.h"

namespace quorvin {

// The application object of AppKit. The main nib names two classes of this back end, AppDelegate
// and MainFlutterWindow, which hold what the factories make. `run` does not return on a Mac: AppKit
// ends the process itself. Main thread.
class MacApplication final : public Application, public NotificationObject {
 public:
  int run(int argc, char** argv, ApplicationFactories factories) override;

  [[nodiscard]] bool exists() override;
  [[nodiscard]] bool isHidden() override;
  [[nodiscard]] bool isActive() override;
  void setActivationPolicy(ActivationPolicy policy) override;
  [[nodiscard]] std::vector<Window*> windows() override;

  [[nodiscard]] id notificationObject() const override { return NSApp; }

 private:
  std::vector<std::unique_ptr<MacWindow>> listedWindows;
};

}  // namespace quorvin
