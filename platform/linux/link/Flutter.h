#pragma once

#include <glib.h>

#include <functional>
#include <memory>
#include <string>

#include "platform/Flutter.h"
#include "platform/linux/link/Messenger.h"
#include "platform/unix/FileDescriptor.h"

namespace quorvin {

// The view controller's engine is the user-interface program at the other end of the UI link.
// Main thread, like everything here.
class LinuxFlutterViewController final : public FlutterViewController {
 public:
  LinuxFlutterViewController() : messenger(std::make_shared<LinuxMessenger>()) {}

  [[nodiscard]] std::shared_ptr<FlutterBinaryMessenger> binaryMessenger() override {
    return messenger;
  }
  // A plug-in is native code for an engine inside the process. The user-interface program, which
  // has the engine's place here, does by itself what it needs of the system.
  void registerPlugin(const std::string& /*key*/) override {}

  // Starts handling messages, in the loop of that context. See LinuxMessenger for both.
  void runEngine(GMainContext* context, FileDescriptor socket, std::function<void()> onClosed) {
    messenger->run(context, std::move(socket), std::move(onClosed));
  }
  void shutDownEngine() { messenger->shutDown(); }
  // Expires once the program has let go of every channel, and this controller is gone.
  [[nodiscard]] std::weak_ptr<const LinuxMessenger> usedMessenger() const { return messenger; }

 private:
  std::shared_ptr<LinuxMessenger> messenger;
};

class LinuxFlutter final : public Flutter {
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
