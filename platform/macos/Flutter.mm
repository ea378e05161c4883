#import "platform/macos/Flutter.h"

#import "platform/macos/Bridging.h"
#import "platform/macos/FlutterChannels.h"
#import "platform/macos/FlutterPlugins.h"

namespace quorvin {

MacFlutterViewController::MacFlutterViewController(::FlutterViewController* controller)
    : handle(controller) {}

std::shared_ptr<FlutterBinaryMessenger> MacFlutterViewController::binaryMessenger() {
  return std::make_shared<MacFlutterBinaryMessenger>(handle.engine.binaryMessenger);
}

void MacFlutterViewController::registerPlugin(const std::string& key) {
  registerFlutterPlugin(key, [handle registrarForPlugin:toNSString(key)]);
}

std::shared_ptr<FlutterViewController> MacFlutter::makeViewController() {
  return std::make_shared<MacFlutterViewController>([[::FlutterViewController alloc] init]);
}

std::unique_ptr<FlutterMethodChannel> MacFlutter::makeMethodChannel(
    const std::string& name, std::shared_ptr<FlutterBinaryMessenger> messenger) {
  return std::make_unique<MacFlutterMethodChannel>(name, *messenger);
}

std::unique_ptr<FlutterEventChannel> MacFlutter::makeEventChannel(
    const std::string& name, std::shared_ptr<FlutterBinaryMessenger> messenger) {
  return std::make_unique<MacFlutterEventChannel>(name, *messenger);
}

std::unique_ptr<FlutterBasicMessageChannel> MacFlutter::makeBasicMessageChannel(
    const std::string& name, std::shared_ptr<FlutterBinaryMessenger> messenger) {
  return std::make_unique<MacFlutterBasicMessageChannel>(name, *messenger);
}

}  // namespace quorvin
