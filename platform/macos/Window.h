#pragma once

#import <AppKit/AppKit.h>

#include <cstdint>
#include <memory>
#include <string>

#include "platform/Application.h"
#import "platform/macos/Notifications.h"

namespace quorvin {

// A window of AppKit, of this program's making or not. Does not keep it: once the window is gone
// nothing happens any more, and it is neither visible nor minimised.
class MacWindow final : public Window, public NotificationObject {
 public:
  explicit MacWindow(NSWindow* window);

  void setContentViewController(std::shared_ptr<FlutterViewController> controller) override;
  void setContentSize(Size size) override;
  void center() override;
  void setContentMinSize(Size size) override;
  void setTitle(const std::string& title) override;
  void setAlphaValue(double alpha) override;
  void orderOut() override;
  [[nodiscard]] bool isVisible() override;
  [[nodiscard]] bool isMiniaturized() override;
  [[nodiscard]] std::uint64_t occlusionState() override;

  [[nodiscard]] id notificationObject() const override { return window; }

 private:
  __weak NSWindow* window;
};

}  // namespace quorvin
