#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>

#include "platform/Data.h"
#include "platform/Flutter.h"
#include "platform/flutter/LinkFrame.h"
#include "platform/unix/FileDescriptor.h"
#include "platform/unix/MainLoopSource.h"

namespace quorvin::webui {

// The user interface's end of the UI link: channel messages over one connected stream socket.
// Lives on the main loop's thread and never blocks it. Once the link has closed (the host ended,
// or either side broke the format) nothing more is sent or called, and requests that wait for a
// reply are forgotten.
class LinkClient {
 public:
  // The payload of the reply, or nothing when nobody handles the channel or the method.
  using ReplyHandler = std::function<void(std::optional<Bytes>)>;
  using MessageHandler = std::function<void(std::string_view channel, Bytes payload)>;
  // `reason` is empty when the host closed the link in an orderly way.
  using CloseHandler = std::function<void(const std::string& reason)>;

  // Takes over a connected stream socket. `onClosed` is called at most once, from the main loop.
  LinkClient(FileDescriptor socket, MessageHandler onMessage, CloseHandler onClosed);

  void request(std::string_view channel, Bytes payload, ReplyHandler onReply);

 private:
  bool read();
  bool write();
  bool handleReadBytes(std::span<const std::uint8_t> bytes);
  void handleFrame(LinkFrame frame);
  void handleMessage(LinkFrame message);
  void handleReply(LinkFrame reply);
  void enqueue(const LinkFrame& frame);
  std::uint32_t unusedId();
  void closeLink(const std::string& reason);
  void closeSoon(const std::string& reason);

  FileDescriptor socket;
  MessageHandler onMessage;
  CloseHandler onClosed;
  Bytes readBuffer;
  LinkFrameReader reader;
  std::deque<Bytes> writeQueue;
  std::size_t writtenOfFirst = 0;
  std::size_t queuedBytes = 0;
  std::unordered_map<std::uint32_t, ReplyHandler> unanswered;
  std::uint32_t lastId = 0;
  bool open = true;
  MainLoopSource readable;
  MainLoopSource writable;
  MainLoopSource pendingClose;
};

// The host's channels as a user interface sees them: method calls on "com.quorvin.support/host"
// and the event stream "com.quorvin.support/frames". On the main loop's thread.
class HostClient {
 public:
  struct Handlers {
    std::function<void(Data)> onFrame;
    std::function<void(const FlutterError&)> onStreamError;
    LinkClient::CloseHandler onClosed;
  };

  HostClient(FileDescriptor socket, Handlers handlers);

  // `onReply` is called once, unless the link closes first.
  void call(const FlutterMethodCall& call, FlutterResult onReply);

  // Starts or ends the event stream; says whether the host did so.
  void listen(std::function<void(bool)> onReply);
  void cancel();

 private:
  void handleMessage(std::string_view channel, const Bytes& payload) const;
  void invoke(std::string_view channel, const FlutterMethodCall& call, FlutterResult onReply);

  Handlers handlers;
  LinkClient link;
};

}  // namespace quorvin::webui
