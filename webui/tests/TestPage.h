#pragma once

#include <libsoup/soup.h>

#include <algorithm>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>
#include <vector>

#include "platform/Data.h"
#include "platform/unix/GlibPtr.h"
#include "webui/tests/TestLoop.h"

namespace quorvin::webui {

// A page as the server sees it: a WebSocket that answers questions, records whatever else arrives
// and acknowledges nothing by itself.
class TestPage {
 public:
  TestPage(std::string address, const char* origin, const std::string& resource = "ws")
      : session(soup_session_new()) {
    address.replace(0, 4, "ws");
    const GlibPtr<SoupMessage> message(
        soup_message_new(SOUP_METHOD_GET, (address + resource).c_str()));
    soup_session_websocket_connect_async(session.get(), message.get(), origin, nullptr,
                                         G_PRIORITY_DEFAULT, nullptr, onConnected, this);
    runUntil([this] { return answered; });
  }
  TestPage(const TestPage&) = delete;
  TestPage& operator=(const TestPage&) = delete;
  ~TestPage() {
    if (socket) g_signal_handlers_disconnect_by_data(socket.get(), this);
  }

  [[nodiscard]] bool connected() const {
    return socket != nullptr &&
           soup_websocket_connection_get_state(socket.get()) == SOUP_WEBSOCKET_STATE_OPEN;
  }
  void send(const std::string& text) const {
    soup_websocket_connection_send_text(socket.get(), text.c_str());
  }
  void sendBinary(const Bytes& bytes) const {
    soup_websocket_connection_send_binary(socket.get(), bytes.data(), bytes.size());
  }
  void close() const {
    soup_websocket_connection_close(socket.get(), SOUP_WEBSOCKET_CLOSE_NORMAL, nullptr);
  }
  // Sends these bytes as they are, without a frame around them.
  void sendRaw(std::string_view bytes) const {
    auto* stream = soup_websocket_connection_get_io_stream(socket.get());
    g_output_stream_write_all(g_io_stream_get_output_stream(stream), bytes.data(), bytes.size(),
                              nullptr, nullptr, nullptr);
  }
  // Goes away as a killed browser does.
  void vanish() {
    g_signal_handlers_disconnect_by_data(socket.get(), this);
    g_io_stream_close(soup_websocket_connection_get_io_stream(socket.get()), nullptr, nullptr);
    socket.reset();
  }

  // The last text that holds every given field with its value, or null.
  [[nodiscard]] nlohmann::json find(const nlohmann::json& fields) const {
    for (auto text = texts.rbegin(); text != texts.rend(); ++text) {
      const bool matches = std::ranges::all_of(fields.items(), [&](const auto& field) {
        return text->contains(field.key()) && (*text)[field.key()] == field.value();
      });
      if (matches) return *text;
    }
    return nullptr;
  }
  [[nodiscard]] nlohmann::json waitFor(const nlohmann::json& fields) const {
    runUntil([&] { return !find(fields).is_null(); });
    return find(fields);
  }
  [[nodiscard]] nlohmann::json waitForSession(const char* state) const {
    return waitFor({{"event", "state"}, {"session", state}});
  }

  std::vector<nlohmann::json> texts;
  std::vector<Bytes> frames;
  bool closed = false;
  int closeCode = 0;
  std::string closeReason;
  bool answers = true;
  int questions = 0;
  std::string lastWord;

 private:
  static void onConnected(GObject* /*source*/, GAsyncResult* result, gpointer self) {
    auto* page = static_cast<TestPage*>(self);
    GError* error = nullptr;
    page->socket.reset(soup_session_websocket_connect_finish(page->session.get(), result, &error));
    if (error != nullptr) g_error_free(error);
    page->answered = true;
    if (!page->socket) return;
    soup_websocket_connection_set_max_incoming_payload_size(page->socket.get(), 0);
    g_signal_connect(page->socket.get(), "message", G_CALLBACK(onMessage), self);
    g_signal_connect(page->socket.get(), "closed", G_CALLBACK(onClosed), self);
  }

  static void onMessage(SoupWebsocketConnection* /*socket*/, gint type, GBytes* message,
                        gpointer self) {
    auto* page = static_cast<TestPage*>(self);
    gsize size = 0;
    const auto* bytes = static_cast<const std::uint8_t*>(g_bytes_get_data(message, &size));
    if (type == SOUP_WEBSOCKET_DATA_TEXT) {
      page->received(nlohmann::json::parse(bytes, bytes + size));
    } else {
      page->frames.emplace_back(bytes, bytes + size);
    }
  }

  void received(const nlohmann::json& text) {
    if (text.value("event", "") != "question") {
      texts.push_back(text);
      return;
    }
    ++questions;
    lastWord = text["word"];
    if (answers) send(nlohmann::json{{"answer", text["word"]}}.dump());
  }

  static void onClosed(SoupWebsocketConnection* /*socket*/, gpointer self) {
    auto* page = static_cast<TestPage*>(self);
    page->closed = true;
    page->closeCode = soup_websocket_connection_get_close_code(page->socket.get());
    const char* reason = soup_websocket_connection_get_close_data(page->socket.get());
    page->closeReason = reason != nullptr ? reason : "";
  }

  GlibPtr<SoupSession> session;
  GlibPtr<SoupWebsocketConnection> socket;
  bool answered = false;
};

}  // namespace quorvin::webui
