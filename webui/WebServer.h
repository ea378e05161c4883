#pragma once

#include <libsoup/soup.h>

#include <cstdint>
#include <functional>
#include <string>

#include "webui/AccessRules.h"
#include "webui/Glib.h"

namespace quorvin::webui {

// Serves the page, its assets and its WebSocket on the loopback interface, to those whom the
// access rules let in. On the main loop's thread.
class WebServer {
 public:
  static constexpr std::uint16_t firstPort = 8765;

  // Called with the WebSocket of every page that opens one; the server keeps no hold on it.
  using PageHandler = std::function<void(SoupWebsocketConnection*)>;

  // Listens on the first free port from `firstPort` on. Throws std::runtime_error when there is
  // none within reach, or no random token to be had.
  explicit WebServer(PageHandler onPage);
  WebServer(const WebServer&) = delete;
  WebServer& operator=(const WebServer&) = delete;
  ~WebServer();

  [[nodiscard]] const AccessRules& access() const { return rules; }

 private:
  static void onHeaders(SoupServer* server, SoupServerMessage* message, const char* path,
                        GHashTable* query, gpointer self);
  static void onRequest(SoupServer* server, SoupServerMessage* message, const char* path,
                        GHashTable* query, gpointer self);
  static void onWebSocket(SoupServer* server, SoupServerMessage* message, const char* path,
                          SoupWebsocketConnection* connection, gpointer self);
  void screen(SoupServerMessage* message, const char* path) const;
  void answer(SoupServerMessage* message, const char* path) const;
  void addCommonHeaders(SoupServerMessage* message) const;

  PageHandler onPage;
  ObjectPointer<SoupServer> server;
  AccessRules rules;
};

}  // namespace quorvin::webui
