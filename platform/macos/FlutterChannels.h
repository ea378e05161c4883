#pragma once

#import <FlutterMacOS/FlutterMacOS.h>

#include <memory>
#include <string>

#include "platform/Flutter.h"

namespace quorvin {

// Flutter's channels on the messenger of its engine. Main thread.

class MacFlutterBinaryMessenger final : public FlutterBinaryMessenger {
 public:
  explicit MacFlutterBinaryMessenger(id<FlutterBinaryMessenger> messenger);

  [[nodiscard]] id<FlutterBinaryMessenger> messenger() const { return handle; }

 private:
  id<FlutterBinaryMessenger> handle;
};

class MacFlutterMethodChannel final : public FlutterMethodChannel {
 public:
  MacFlutterMethodChannel(const std::string& name, const FlutterBinaryMessenger& messenger);

  void setMethodCallHandler(FlutterMethodCallHandler handler) override;

 private:
  ::FlutterMethodChannel* channel;
  bool hasHandler = false;
};

class MacFlutterEventChannel final : public FlutterEventChannel {
 public:
  MacFlutterEventChannel(const std::string& name, const FlutterBinaryMessenger& messenger);

  void setStreamHandler(std::shared_ptr<FlutterStreamHandler> handler) override;

 private:
  ::FlutterEventChannel* channel;
};

class MacFlutterBasicMessageChannel final : public FlutterBasicMessageChannel {
 public:
  MacFlutterBasicMessageChannel(const std::string& name, const FlutterBinaryMessenger& messenger);

  void sendMessage(const std::string& message) override;

 private:
  ::FlutterBasicMessageChannel* channel;
};

}  // namespace quorvin
