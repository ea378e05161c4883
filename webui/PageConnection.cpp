#include "webui/PageConnection.h"

#include <utility>

#include "webui/AccessRules.h"
#include "webui/MessageBounds.h"
#include "webui/PageMessage.h"

namespace quorvin::webui {

namespace {

// Then the browser is stuck or gone.
constexpr int overdueMax = 15;
// A question follows when so much may lie unread.
constexpr std::size_t unreadBytesAsked = std::size_t{256} * 1024;
// What a message costs besides its bytes while it waits.
constexpr std::size_t messageCost = 256;

}  // namespace

PageConnection::PageConnection(SoupWebsocketConnection* givenSocket, Handlers givenHandlers,
                               std::chrono::milliseconds interval)
    : socket(referTo(givenSocket)), handlers(std::move(givenHandlers)) {
  soup_websocket_connection_set_max_incoming_payload_size(socket.get(), pageMessageBytesMax);
  g_signal_connect(socket.get(), "message", G_CALLBACK(onMessage), this);
  g_signal_connect(socket.get(), "error", G_CALLBACK(onError), this);
  g_signal_connect(socket.get(), "closed", G_CALLBACK(onSocketClosed), this);
  questions = MainLoopSource::onTimeout(nullptr, interval, [this] {
    checkAnswer();
    return MainLoopSource::Next::again;
  });
}

PageConnection::~PageConnection() {
  g_signal_handlers_disconnect_by_data(socket.get(), this);
  if (open()) soup_websocket_connection_close(socket.get(), SOUP_WEBSOCKET_CLOSE_GOING_AWAY, "");
}

bool PageConnection::open() const {
  return soup_websocket_connection_get_state(socket.get()) == SOUP_WEBSOCKET_STATE_OPEN;
}

void PageConnection::sendText(const std::string& text) {
  if (!maySend()) return;
  soup_websocket_connection_send_text(socket.get(), text.c_str());
  sent(text.size());
}

void PageConnection::sendBinary(const Data& data) {
  if (!maySend()) return;
  soup_websocket_connection_send_binary(socket.get(), data.data(), data.size());
  lastFrameBytes = data.size();
  sent(data.size());
}

bool PageConnection::maySend() {
  if (!open()) return false;
  if (unreadBytes <= unreadBytesMax + lastFrameBytes) return true;
  giveUp(SOUP_WEBSOCKET_CLOSE_POLICY_VIOLATION, "the page does not read");
  return false;
}

void PageConnection::sent(std::size_t bytes) {
  unreadBytes += bytes + messageCost;
  sentSinceQuestion += bytes + messageCost;
  if (expectedWord.empty() && unreadBytes > unreadBytesAsked) ask();
}

// The word cannot be guessed, and all that was sent before it has come before it.
void PageConnection::ask() {
  expectedWord = makeToken();
  sendText(questionText(expectedWord));
  sentSinceQuestion = 0;
}

void PageConnection::answered(std::string_view word) {
  if (expectedWord.empty() || word != expectedWord) return;
  expectedWord.clear();
  unreadBytes = sentSinceQuestion;
  forgetFrames(socket.get());
  if (std::exchange(overdue, 0) > 0) handlers.onAnswering();
  if (unreadBytes > unreadBytesAsked) ask();
}

void PageConnection::checkAnswer() {
  if (expectedWord.empty()) {
    ask();
  } else if (++overdue == 1) {
    handlers.onAnswering();
  } else if (overdue == overdueMax) {
    giveUp(SOUP_WEBSOCKET_CLOSE_GOING_AWAY, "the page does not answer");
  }
}

void PageConnection::onMessage(SoupWebsocketConnection* /*socket*/, gint type, GBytes* message,
                               gpointer self) {
  const auto* page = static_cast<PageConnection*>(self);
  if (!page->open()) return;
  if (type != SOUP_WEBSOCKET_DATA_TEXT) {
    page->handlers.onBinary();
    return;
  }
  gsize size = 0;
  const auto* text = static_cast<const char*>(g_bytes_get_data(message, &size));
  page->handlers.onText(std::string_view(text, size));
}

void PageConnection::onError(SoupWebsocketConnection* /*socket*/, const GError* error,
                             gpointer self) {
  // Whatever else fails, "closed" follows.
  if (error->domain != SOUP_WEBSOCKET_ERROR) return;
  static_cast<PageConnection*>(self)->giveUp(static_cast<SoupWebsocketCloseCode>(error->code),
                                             error->message);
}

void PageConnection::onSocketClosed(SoupWebsocketConnection* /*socket*/, gpointer self) {
  static_cast<PageConnection*>(self)->reportClosed();
}

// The library would go on reading until the reason has gone out, which may be never.
void PageConnection::giveUp(SoupWebsocketCloseCode code, const char* why) {
  if (!open()) return;
  soup_websocket_connection_close(socket.get(), static_cast<gushort>(code), why);
  end = MainLoopSource::onTimeout(nullptr, std::chrono::milliseconds(0),
                                  MainLoopSource::once([this] { reportClosed(); }));
}

void PageConnection::reportClosed() {
  if (std::exchange(reported, true)) return;
  // Called from a copy, as the call may destroy this connection and its handlers with it.
  const auto onClosed = handlers.onClosed;
  onClosed();
}

}  // namespace quorvin::webui
