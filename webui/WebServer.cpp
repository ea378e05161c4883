#include "webui/WebServer.h"

#include <algorithm>
#include <array>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "webui/PageAssets.h"

namespace quorvin::webui {

namespace {

constexpr std::uint16_t portsTried = 100;
constexpr std::string_view webSocketResource = "ws";
constexpr const char* everyPath = "/";

ObjectPointer<SoupServer> makeServer() {
  // Paths stay as they were sent: there is one way only to write each of ours.
  ObjectPointer<SoupServer> server(soup_server_new("raw-paths", TRUE, nullptr));
  // Pictures are compressed already, and calls are short.
  soup_server_remove_websocket_extension(server.get(), SOUP_TYPE_WEBSOCKET_EXTENSION_DEFLATE);
  return server;
}

std::uint16_t listen(SoupServer* server) {
  std::string reason;
  for (std::uint16_t offset = 0; offset < portsTried; ++offset) {
    const auto port = static_cast<std::uint16_t>(WebServer::firstPort + offset);
    const ObjectPointer<GSocketAddress> address(
        g_inet_socket_address_new_from_string("127.0.0.1", port));
    GError* error = nullptr;
    if (soup_server_listen(server, address.get(), SoupServerListenOptions{}, &error) != FALSE) {
      return port;
    }
    reason = ErrorPointer(error)->message;
  }
  throw std::runtime_error("no free port on 127.0.0.1: " + reason);
}

// All values of the header, so that a second one cannot hide behind the first.
std::string headerOf(SoupServerMessage* message, const char* name) {
  const char* value =
      soup_message_headers_get_list(soup_server_message_get_request_headers(message), name);
  return value != nullptr ? value : "";
}

void respond(SoupServerMessage* message, guint status, const char* type, std::string_view body) {
  soup_server_message_set_status(message, status, nullptr);
  soup_server_message_set_response(message, type, SOUP_MEMORY_COPY, body.data(), body.size());
}

void refuse(SoupServerMessage* message, guint status, std::string_view why) {
  respond(message, status, "text/plain; charset=utf-8", why);
}

}  // namespace

WebServer::WebServer(PageHandler onPage)
    : onPage(std::move(onPage)), server(makeServer()), rules(listen(server.get()), makeToken()) {
  soup_server_add_early_handler(server.get(), everyPath, onHeaders, this, nullptr);
  soup_server_add_handler(server.get(), everyPath, onRequest, this, nullptr);
  soup_server_add_websocket_handler(server.get(), everyPath, nullptr, nullptr, onWebSocket, this,
                                    nullptr);
}

WebServer::~WebServer() {
  soup_server_disconnect(server.get());
}

void WebServer::onHeaders(SoupServer* /*server*/, SoupServerMessage* message, const char* path,
                          GHashTable* /*query*/, gpointer self) {
  static_cast<const WebServer*>(self)->screen(message, path);
}

void WebServer::onRequest(SoupServer* /*server*/, SoupServerMessage* message, const char* path,
                          GHashTable* /*query*/, gpointer self) {
  static_cast<const WebServer*>(self)->answer(message, path);
}

void WebServer::onWebSocket(SoupServer* /*server*/, SoupServerMessage* /*message*/,
                            const char* /*path*/, SoupWebsocketConnection* connection,
                            gpointer self) {
  static_cast<const WebServer*>(self)->onPage(connection);
}

// Before anything of a request but its headers has been read.
void WebServer::screen(SoupServerMessage* message, const char* path) const {
  // No request to this server has a use for a body.
  soup_message_body_set_accumulate(soup_server_message_get_request_body(message), FALSE);
  addCommonHeaders(message);
  const std::string_view method = soup_server_message_get_method(message);
  const auto resource = rules.resourceOf(path);
  if (!rules.hostAllowed(headerOf(message, "Host"))) {
    refuse(message, SOUP_STATUS_FORBIDDEN, "This address is not served.\n");
  } else if (!resource) {
    refuse(message, SOUP_STATUS_NOT_FOUND, "Nothing is here.\n");
  } else if (method != "GET" && method != "HEAD") {
    soup_message_headers_replace(soup_server_message_get_response_headers(message), "Allow",
                                 "GET, HEAD");
    refuse(message, SOUP_STATUS_METHOD_NOT_ALLOWED, "This can only be read.\n");
  } else if (*resource == webSocketResource && !rules.originAllowed(headerOf(message, "Origin"))) {
    refuse(message, SOUP_STATUS_FORBIDDEN, "Another page may not connect.\n");
  }
}

void WebServer::answer(SoupServerMessage* message, const char* path) const {
  const auto resource = rules.resourceOf(path);
  // The WebSocket handler takes over when this one leaves the request without a status.
  if (!resource || *resource == webSocketResource) return;
  if (const auto asset = findPageAsset(*resource)) {
    respond(message, SOUP_STATUS_OK, asset->type, asset->content);
  } else {
    refuse(message, SOUP_STATUS_NOT_FOUND, "Nothing is here.\n");
  }
}

void WebServer::addCommonHeaders(SoupServerMessage* message) const {
  auto* headers = soup_server_message_get_response_headers(message);
  const auto set = [&](const char* name, const char* value) {
    soup_message_headers_replace(headers, name, value);
  };
  set("Content-Security-Policy", rules.contentPolicy().c_str());
  set("X-Content-Type-Options", "nosniff");
  set("X-Frame-Options", "DENY");
  set("Referrer-Policy", "no-referrer");
  set("Cross-Origin-Opener-Policy", "same-origin");
  set("Cross-Origin-Resource-Policy", "same-origin");
  set("Cache-Control", "no-store");
}

}  // namespace quorvin::webui
