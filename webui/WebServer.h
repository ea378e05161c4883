#pragma once

#include <libsoup/soup.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "platform/unix/GlibPtr.h"
#include "webui/AccessRules.h"
#include "webui/FrontDoor.h"
#include "webui/WebSocket.h"

namespace quorvin::webui {

// Serves the customer's and the supporter's page, their assets and their WebSockets on the loopback
// interface, to those whom the access rules let in. On the main loop's thread.
class WebServer {
 public:
  // Called with the WebSocket of every page that opens one.
  using PageHandler = std::function<void(std::unique_ptr<WebSocket>, const PageOwner&)>;

  // Throws std::runtime_error when there is no free port, or no random tokens to be had.
  // `place` as for AccessRules.
  explicit WebServer(PageHandler onPage, std::string_view place = {},
                     std::chrono::milliseconds requestTimeMax = FrontDoor::requestTimeMax);
  ~WebServer();

  [[nodiscard]] const AccessRules& access() const { return rules; }
  [[nodiscard]] std::uint16_t port() const { return door.port(); }

 private:
  static void onHeaders(SoupServer* server, SoupServerMessage* message, const char* path,
                        GHashTable* query, gpointer self);
  static void onRequest(SoupServer* server, SoupServerMessage* message, const char* path,
                        GHashTable* query, gpointer self);
  static void onUpgraded(SoupServerMessage* message, gpointer self);
  [[nodiscard]] bool serves(std::string_view target) const;
  void screen(SoupServerMessage* message, const char* path) const;
  void answer(SoupServerMessage* message, const char* path);
  void openPage(SoupServerMessage* message);
  using Headers = std::array<std::pair<std::string, std::string>, 7>;
  [[nodiscard]] Headers commonHeaders() const;
  // The whole answer to a request for anything that is not here.
  [[nodiscard]] std::string refusal() const;

  PageHandler onPage;
  GlibPtr<SoupServer> server;
  FrontDoor door;
  AccessRules rules;
};

}  // namespace quorvin::webui
