#pragma once

#include <glib.h>

#include <functional>
#include <memory>
#include <string>

#include "platform/Flutter.h"
#include "platform/linux/link/Messenger.h"
#include "platform/unix/FileDescriptor.h"

namespace quorvin {

// Channels over the UI link: two with the standard method codec, one with the string codec. They
// behave as the same channels do in Flutter's macOS embedding:
// https://github.com/flutter/flutter/blob/master/engine/src/flutter/shell/platform/
// darwin/common/framework/Source/FlutterChannels.mm. Destroying a channel leaves its handler with
// the messenger.

class LinuxMethodChannel final : public FlutterMethodChannel {
 public:
  LinuxMethodChannel(std::string name, std::shared_ptr<LinuxMessenger> messenger);

  void setMethodCallHandler(FlutterMethodCallHandler handler) override;

 private:
  std::string name;
  std::shared_ptr<LinuxMessenger> messenger;
  std::weak_ptr<ChannelHandler> current;  // what this channel registered last
};

class LinuxEventChannel final : public FlutterEventChannel {
 public:
  LinuxEventChannel(std::string name, std::shared_ptr<LinuxMessenger> messenger);

  void setStreamHandler(std::shared_ptr<FlutterStreamHandler> handler) override;

 private:
  std::string name;
  std::shared_ptr<LinuxMessenger> messenger;
  std::weak_ptr<ChannelHandler> current;  // likewise
};

class LinuxBasicMessageChannel final : public FlutterBasicMessageChannel {
 public:
  LinuxBasicMessageChannel(std::string name, std::shared_ptr<LinuxMessenger> messenger);

  // Text that is not UTF-8, or too long for a frame of the link, is dropped: nobody waits for it.
  void sendMessage(const std::string& message) override;

 private:
  std::string name;
  std::shared_ptr<LinuxMessenger> messenger;
};

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
