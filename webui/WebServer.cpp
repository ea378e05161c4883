#include "webui/WebServer.h"

#include <array>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>

#include "platform/unix/GlibPtr.h"
#include "webui/PageMessage.h"

extern "C" {
#include "webui/PageResources.h"
}

namespace quorvin::webui {
namespace {

const char* typeOf(std::string_view name) {
  if (name.ends_with(".html")) return "text/html; charset=utf-8";
  if (name.ends_with(".css")) return "text/css; charset=utf-8";
  if (name.ends_with(".js")) return "text/javascript; charset=utf-8";
  if (name.ends_with(".svg")) return "image/svg+xml";
  if (name.ends_with(".json")) return "application/json";
  return "application/octet-stream";
}

struct PageAsset {
  const char* type;          // the value of the Content-Type header
  std::string_view content;  // lives as long as the program
};

// As built into the program. What is no page serves both roles.
std::optional<PageAsset> findPageAsset(const AccessRules::Resource& resource) {
  std::string_view name = resource.name;
  // A slash at the end would be overlooked.
  const bool isRolesPage = name.ends_with(".html") && name != "help.html";
  if (name.find('/') != std::string_view::npos || isRolesPage) return std::nullopt;
  if (name.empty()) name = resource.role == PageRole::customer ? "index.html" : "supporter.html";
  const auto path = "/com/quorvin/webui/" + std::string(name);
  const GlibPtr<GBytes> bytes(g_resource_lookup_data(quorvin_page_get_resource(), path.c_str(),
                                                     G_RESOURCE_LOOKUP_FLAGS_NONE, nullptr));
  if (!bytes) return std::nullopt;
  // Uncompressed resources are the program's own read-only data, which outlives `bytes`.
  gsize size = 0;
  const auto* content = static_cast<const char*>(g_bytes_get_data(bytes.get(), &size));
  return PageAsset{typeOf(name), {content, size}};
}

// Leads the customer's browser to the supporter's page, and nobody back.
constexpr std::string_view supporterResource = "supporter";

bool leadsToSupporter(const AccessRules::Resource& resource) {
  return resource.role == PageRole::customer && resource.name == supporterResource;
}

constexpr const char* everyPath = "/";
constexpr const char* plainText = "text/plain; charset=utf-8";
constexpr std::string_view nothingHere = "Nothing is here.\n";

// All values of the header, so that a second one cannot hide behind the first.
std::string headerOf(SoupServerMessage* message, const char* name) {
  const char* value =
      soup_message_headers_get_list(soup_server_message_get_request_headers(message), name);
  return value != nullptr ? value : "";
}

void respond(SoupServerMessage* message, guint status, const char* type, std::string_view body) {
  soup_message_headers_replace(soup_server_message_get_response_headers(message), "Connection",
                               "close");
  soup_server_message_set_status(message, status, nullptr);
  soup_server_message_set_response(message, type, SOUP_MEMORY_COPY, body.data(), body.size());
}

void refuse(SoupServerMessage* message, guint status, std::string_view why) {
  respond(message, status, plainText, why);
}

}  // namespace

WebServer::WebServer(PageHandler onPage, std::string_view place,
                     std::chrono::milliseconds requestTimeMax)
    : onPage(std::move(onPage)),
      // Paths stay as they were sent: there is one way only to write each of ours.
      server(soup_server_new("raw-paths", TRUE, nullptr)),
      door(server.get()),
      rules(door.port(), place) {
  soup_server_add_early_handler(server.get(), everyPath, onHeaders, this, nullptr);
  soup_server_add_handler(server.get(), everyPath, onRequest, this, nullptr);
  door.open(
      {[this](std::string_view target) { return serves(target); }, refusal(), requestTimeMax});
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
  static_cast<WebServer*>(self)->answer(message, path);
}

void WebServer::onUpgraded(SoupServerMessage* message, gpointer self) {
  static_cast<WebServer*>(self)->openPage(message);
}

bool WebServer::serves(std::string_view target) const {
  const auto resource = rules.resourceOf(target);
  return resource && (resource->name == AccessRules::webSocket || leadsToSupporter(*resource) ||
                      findPageAsset(*resource));
}

// Before anything of a request but its headers has been read.
void WebServer::screen(SoupServerMessage* message, const char* path) const {
  // No request to this server has a use for a body.
  soup_message_body_set_accumulate(soup_server_message_get_request_body(message), FALSE);
  auto* headers = soup_server_message_get_response_headers(message);
  for (const auto& [name, value] : commonHeaders()) {
    soup_message_headers_replace(headers, name.c_str(), value.c_str());
  }
  const std::string_view method = soup_server_message_get_method(message);
  const auto resource = rules.resourceOf(path);
  if (!rules.hostAllowed(headerOf(message, "Host"))) {
    refuse(message, SOUP_STATUS_FORBIDDEN, "This address is not served.\n");
  } else if (method != "GET" && method != "HEAD") {
    soup_message_headers_replace(headers, "Allow", "GET, HEAD");
    refuse(message, SOUP_STATUS_METHOD_NOT_ALLOWED, "This can only be read.\n");
  } else if (resource && resource->name == AccessRules::webSocket &&
             !rules.originAllowed(headerOf(message, "Origin"))) {
    refuse(message, SOUP_STATUS_FORBIDDEN, "Another page may not connect.\n");
  }
}

void WebServer::answer(SoupServerMessage* message, const char* path) {
  const auto resource = rules.resourceOf(path);
  if (!resource) return;
  if (resource->name == AccessRules::webSocket) {
    if (soup_websocket_server_process_handshake(message, nullptr, nullptr, nullptr, nullptr)) {
      g_signal_connect(message, "wrote-informational", G_CALLBACK(onUpgraded), this);
    }
  } else if (leadsToSupporter(*resource)) {
    soup_message_headers_replace(soup_server_message_get_response_headers(message), "Location",
                                 rules.address(PageRole::supporter).c_str());
    respond(message, SOUP_STATUS_FOUND, plainText, "");
  } else if (const auto asset = findPageAsset(*resource)) {
    respond(message, SOUP_STATUS_OK, asset->type, asset->content);
  }
}

// Once the handshake has been answered.
void WebServer::openPage(SoupServerMessage* message) {
  const auto resource = rules.resourceOf(g_uri_get_path(soup_server_message_get_uri(message)));
  if (!resource) return;
  const int descriptor = door.letStay(message);
  if (descriptor < 0) return;
  const auto held = referTo(message);
  GlibPtr<GIOStream> stream(soup_server_message_steal_connection(message));
  onPage(std::make_unique<WebSocket>(std::move(stream), descriptor,
                                     WebSocket::Bounds{pageMessageBytesMax, pageFramesMax}),
         *resource);
}

WebServer::Headers WebServer::commonHeaders() const {
  return {{{"Content-Security-Policy", rules.contentPolicy()},
           {"X-Content-Type-Options", "nosniff"},
           {"X-Frame-Options", "DENY"},
           {"Referrer-Policy", "no-referrer"},
           {"Cross-Origin-Opener-Policy", "same-origin"},
           {"Cross-Origin-Resource-Policy", "same-origin"},
           {"Cache-Control", "no-store"}}};
}

std::string WebServer::refusal() const {
  std::ostringstream answer;
  answer << "HTTP/1.1 404 Not Found\r\n";
  for (const auto& [name, value] : commonHeaders()) answer << name << ": " << value << "\r\n";
  answer << "Content-Type: " << plainText << "\r\nContent-Length: " << nothingHere.size()
         << "\r\nConnection: close\r\n\r\n"
         << nothingHere;
  return answer.str();
}

}  // namespace quorvin::webui
