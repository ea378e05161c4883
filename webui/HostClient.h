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

// The host as a user interface sees it, over one connected stream socket: method calls on
// "com.quorvin.support/host" and the event stream "com.quorvin.support/frames". Lives on the main
// loop's thread and never blocks it. Once the link has closed (the host ended, or either side broke
// the format) nothing more is sent or called, and calls that wait for a reply are forgotten.
class HostClient {
 public:
  // `reason` is empty when the host closed the link in an orderly way.
  using CloseHandler = std::function<void(const std::string& reason)>;
  struct Handlers {
    std::function<void(Data)> onFrame;
    std::function<void(const FlutterError&)> onStreamError;
    CloseHandler onClosed;  // at most once, from the main loop
  };

  // Takes over the socket.
  HostClient(FileDescriptor socket, Handlers handlers);

  // `onReply` is called once, unless the link closes first.
  void call(const FlutterMethodCall& call, FlutterResult onReply);

  // Starts or ends the event stream; says whether the host did so.
  void listen(std::function<void(bool)> onReply);
  void cancel();

 private:
  void request(std::string_view channel, const FlutterMethodCall& call, FlutterResult onReply);
  std::uint32_t unusedId();
  bool read();
  bool handleReadBytes();
  void handleFrame(const LinkFrame& frame);
  void handleReply(const LinkFrame& reply);
  void handleEvent(const Data& payload) const;
  void enqueue(const LinkFrame& frame);
  bool write();
  void closeLink(const std::string& reason);
  void closeSoon(const std::string& reason);

  FileDescriptor socket;
  Handlers handlers;
  LinkFrameReader reader;
  std::deque<Bytes> writeQueue;
  std::size_t writtenOfFirst = 0;
  std::size_t queuedBytes = 0;
  std::unordered_map<std::uint32_t, FlutterResult> unanswered;
  std::uint32_t lastId = 0;
  bool open = true;
  MainLoopSource readable;
  MainLoopSource writable;
  MainLoopSource pendingClose;
};

}  // namespace quorvin::webui
