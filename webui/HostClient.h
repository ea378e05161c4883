#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "platform/Data.h"
#include "platform/Flutter.h"
#include "platform/unix/FileDescriptor.h"
#include "webui/LinkClient.h"

namespace quorvin::webui {

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
