#include "platform/linux/link/Flutter.h"

#include "platform/Fatal.h"
#include "platform/linux/link/Channels.h"

namespace quorvin {
namespace {

std::shared_ptr<LinuxMessenger> asLinuxMessenger(
    const std::shared_ptr<FlutterBinaryMessenger>& messenger) {
  auto own = std::dynamic_pointer_cast<LinuxMessenger>(messenger);
  if (own == nullptr) fatalError("A channel needs the messenger of a view controller.");
  return own;
}

}  // namespace

std::shared_ptr<FlutterViewController> LinuxFlutter::makeViewController() {
  return std::make_shared<LinuxFlutterViewController>();
}

std::unique_ptr<FlutterMethodChannel> LinuxFlutter::makeMethodChannel(
    const std::string& name, std::shared_ptr<FlutterBinaryMessenger> messenger) {
  return std::make_unique<LinuxMethodChannel>(name, asLinuxMessenger(messenger));
}

std::unique_ptr<FlutterEventChannel> LinuxFlutter::makeEventChannel(
    const std::string& name, std::shared_ptr<FlutterBinaryMessenger> messenger) {
  return std::make_unique<LinuxEventChannel>(name, asLinuxMessenger(messenger));
}

std::unique_ptr<FlutterBasicMessageChannel> LinuxFlutter::makeBasicMessageChannel(
    const std::string& name, std::shared_ptr<FlutterBinaryMessenger> messenger) {
  return std::make_unique<LinuxBasicMessageChannel>(name, asLinuxMessenger(messenger));
}

}  // namespace quorvin
