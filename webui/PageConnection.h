#pragma once

#include <libsoup/soup.h>

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

#include "platform/Data.h"
#include "webui/EventSource.h"
#include "webui/Glib.h"

namespace quorvin::webui {

// The WebSocket of one page. On the main loop's thread. Sending never blocks; how much may be on
// its way is the caller's care.
class PageConnection {
 public:
  struct Handlers {
    std::function<void(std::string_view)> onText;
    std::function<void()> onBinary;
    // The page has gone, or has not been heard of for so long that it counts as gone. Called at
    // most once, last of all, and may destroy the connection.
    std::function<void()> onClosed;
  };

  PageConnection(SoupWebsocketConnection* socket, std::size_t messageBytesMax, Handlers handlers);
  PageConnection(const PageConnection&) = delete;
  PageConnection& operator=(const PageConnection&) = delete;
  ~PageConnection();

  void sendText(const std::string& text);
  void sendBinary(const Data& data);

 private:
  static void onMessage(SoupWebsocketConnection* socket, gint type, GBytes* message, gpointer self);
  static void onPong(SoupWebsocketConnection* socket, GBytes* message, gpointer self);
  static void onSocketClosed(SoupWebsocketConnection* socket, gpointer self);
  [[nodiscard]] bool open() const;
  bool checkSilence();
  void reportClosed();

  ObjectPointer<SoupWebsocketConnection> socket;
  Handlers handlers;
  bool reported = false;
  bool heardOf = true;
  EventSource silenceCheck;
};

}  // namespace quorvin::webui
