#pragma once

#include <glib.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "platform/Flutter.h"
#include "platform/linux/link/UiLink.h"
#include "platform/unix/FileDescriptor.h"
#include "platform/unix/ThreadCheck.h"

namespace quorvin {

// Answers one message, with nothing for the null reply. Only the first answer counts, and none
// does once the link is closed or the messenger is gone.
using MessageAnswer = std::function<void(std::optional<Bytes> payload)>;

// Handles the messages of one channel.
class ChannelHandler {
 public:
  ChannelHandler() = default;
  ChannelHandler(const ChannelHandler&) = delete;
  ChannelHandler& operator=(const ChannelHandler&) = delete;
  virtual ~ChannelHandler() = default;

  virtual void onMessage(std::span<const std::uint8_t> payload, MessageAnswer answer) = 0;
  // The user interface is gone: whatever it listened to counts as cancelled.
  virtual void cancelListener() = 0;
};

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

  // Replaces the channel's handler.
  void setHandler(const std::string& channel, std::shared_ptr<ChannelHandler> handler);
  // Does nothing when the channel has another handler by now.
  void removeHandler(const std::string& channel, const ChannelHandler* handler);

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

}  // namespace quorvin
