#pragma once

#include <glib.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/Flutter.h"
#include "platform/linux/link/UiLink.h"
#include "platform/unix/FileDescriptor.h"
#include "platform/unix/ThreadCheck.h"

namespace quorvin {

class ChannelHandler;

// Answers one message, with nothing for the null reply. Only the first answer counts, and none
// does once the link is closed or the messenger is gone.
using MessageAnswer = std::function<void(std::optional<Bytes> payload)>;

// Carries the messages of the user interface to the channels' handlers, and answers and events
// back over the UI link. Handlers may be set before the link runs. Main thread.
class LinuxMessenger final : public FlutterBinaryMessenger,
                             public std::enable_shared_from_this<LinuxMessenger> {
 public:
  // Takes over a connected stream socket. When its other side is gone, every listener is
  // cancelled first and `onClosed` called then.
  void run(GMainContext* context, FileDescriptor socket, std::function<void()> onClosed);
  // Cancels every listener, forgets the handlers, and closes the link without onClosed.
  void shutDown();

  // Replaces the channel's handler and notes it in `own`. Without a new one, takes away the handler
  // noted there, unless the channel has another by now.
  void setHandler(const std::string& channel, std::weak_ptr<ChannelHandler>& own,
                  std::shared_ptr<ChannelHandler> handler);

  // The newest event takes the place of one that still waits; see MessageQueue.
  void sendEvent(std::string_view channel, Value event);
  // Text or the error of a stream: sent in order, none replaced. See UiLink.
  void sendMessage(std::string_view channel, Bytes payload);
  // Forgets what the channel sent and has not begun to go out.
  void dropEvent(std::string_view channel);

 private:
  void onMessage(const LinkFrame& message);
  [[nodiscard]] MessageAnswer makeAnswer(std::uint32_t id);
  void cancelListeners();

  ThreadCheck thread;
  std::shared_ptr<UiLink> link;
  std::map<std::string, std::shared_ptr<ChannelHandler>> handlers;
};

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
