#pragma once

#include <memory>
#include <string>

#include "platform/Flutter.h"
#include "platform/linux/link/Messenger.h"

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

}  // namespace quorvin
