#include "webui/PageConnection.h"

#include <chrono>
#include <utility>

namespace quorvin::webui {

namespace {

// Browsers answer pings even for a page in the background, so silence means that the browser is
// stuck or gone. Then nothing more may pile up for it, and nobody behind it can press Stop.
constexpr guint pingIntervalSeconds = 10;
constexpr std::chrono::seconds silenceMax{30};

}  // namespace

PageConnection::PageConnection(SoupWebsocketConnection* givenSocket, std::size_t messageBytesMax,
                               Handlers givenHandlers)
    : socket(referTo(givenSocket)), handlers(std::move(givenHandlers)) {
  soup_websocket_connection_set_max_incoming_payload_size(socket.get(), messageBytesMax);
  soup_websocket_connection_set_keepalive_interval(socket.get(), pingIntervalSeconds);
  g_signal_connect(socket.get(), "message", G_CALLBACK(onMessage), this);
  g_signal_connect(socket.get(), "pong", G_CALLBACK(onPong), this);
  g_signal_connect(socket.get(), "closed", G_CALLBACK(onSocketClosed), this);
  silenceCheck = EventSource::every(silenceMax, [this] { return checkSilence(); });
}

PageConnection::~PageConnection() {
  g_signal_handlers_disconnect_by_data(socket.get(), this);
  if (open()) soup_websocket_connection_close(socket.get(), SOUP_WEBSOCKET_CLOSE_GOING_AWAY, "");
}

bool PageConnection::open() const {
  return soup_websocket_connection_get_state(socket.get()) == SOUP_WEBSOCKET_STATE_OPEN;
}

void PageConnection::sendText(const std::string& text) {
  if (open()) soup_websocket_connection_send_text(socket.get(), text.c_str());
}

void PageConnection::sendBinary(const Data& data) {
  if (open()) soup_websocket_connection_send_binary(socket.get(), data.data(), data.size());
}

void PageConnection::onMessage(SoupWebsocketConnection* /*socket*/, gint type, GBytes* message,
                               gpointer self) {
  auto* page = static_cast<PageConnection*>(self);
  page->heardOf = true;
  if (type != SOUP_WEBSOCKET_DATA_TEXT) {
    page->handlers.onBinary();
    return;
  }
  gsize size = 0;
  const auto* text = static_cast<const char*>(g_bytes_get_data(message, &size));
  page->handlers.onText(std::string_view(text, size));
}

void PageConnection::onPong(SoupWebsocketConnection* /*socket*/, GBytes* /*message*/,
                            gpointer self) {
  static_cast<PageConnection*>(self)->heardOf = true;
}

void PageConnection::onSocketClosed(SoupWebsocketConnection* /*socket*/, gpointer self) {
  static_cast<PageConnection*>(self)->reportClosed();
}

bool PageConnection::checkSilence() {
  if (std::exchange(heardOf, false)) return true;
  reportClosed();
  return false;
}

void PageConnection::reportClosed() {
  if (std::exchange(reported, true)) return;
  // Called from a copy, as the call may destroy this connection and its handlers with it.
  const auto onClosed = handlers.onClosed;
  onClosed();
}

}  // namespace quorvin::webui
