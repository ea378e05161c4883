#pragma once

#import <FlutterMacOS/FlutterMacOS.h>

#include <memory>
#include <string>

#include "platform/Flutter.h"

namespace quorvin {

class MacFlutterViewController final : public FlutterViewController {
 public:
  explicit MacFlutterViewController(::FlutterViewController* controller);

  [[nodiscard]] std::shared_ptr<FlutterBinaryMessenger> binaryMessenger() override;
  void registerPlugin(const std::string& key) override;

  [[nodiscard]] ::FlutterViewController* controller() const { return handle; }

 private:
  ::FlutterViewController* handle;
};

// Flutter's embedding for macOS. Main thread.
class MacFlutter final : public Flutter {
 public:
  [[nodiscard]] std::shared_ptr<FlutterViewController> makeViewController() override;
  [[nodiscard]] std::unique_ptr<FlutterMethodChannel> makeMethodChannel(
      const std::string& name, std::shared_ptr<FlutterBinaryMessenger> messenger) override;
  [[nodiscard]] std::unique_ptr<FlutterEventChannel> makeEventChannel(
      const std::string& name, std::shared_ptr<FlutterBinaryMessenger> messenger) override;
  [[nodiscard]] std::unique_ptr<FlutterBasicMessageChannel> makeBasicMessageChannel(
      const std::string& name, std::shared_ptr<FlutterBinaryMessenger> messenger) override;
};

}  // namespace quorvin
