#pragma once

#include <libsoup/soup.h>

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

#include "platform/Data.h"
#include "platform/unix/GlibPtr.h"
#include "platform/unix/MainLoopSource.h"

namespace quorvin::webui {

// The WebSocket of one page. On the main loop's thread. Sending never blocks. The page's script is
// asked now and then to repeat a word: that tells whether it still works, and what it has read. A
// page that answers nothing for half a minute, lets too much lie unread or sends too much is given
// up, with a reason.
class PageConnection {
 public:
  static constexpr std::chrono::milliseconds questionInterval{2'000};
  // So much may lie unread, besides the last frame.
  static constexpr std::size_t unreadBytesMax = std::size_t{4} * 1024 * 1024;

  struct Handlers {
    std::function<void(std::string_view)> onText;
    std::function<void()> onBinary;
    // `answering` has changed.
    std::function<void()> onAnswering;
    // The page has gone, or counts as gone. Called at most once, last of all, and may destroy the
    // connection.
    std::function<void()> onClosed;
  };

  PageConnection(SoupWebsocketConnection* socket, Handlers handlers,
                 std::chrono::milliseconds interval = questionInterval);
  PageConnection(const PageConnection&) = delete;
  PageConnection& operator=(const PageConnection&) = delete;
  ~PageConnection();

  void sendText(const std::string& text);
  void sendBinary(const Data& data);

  // What the page has sent in answer to a question.
  void answered(std::string_view word);
  // Whether the page's script has answered the last question, or had little time for it so far.
  [[nodiscard]] bool answering() const { return overdue == 0; }

 private:
  static void onMessage(SoupWebsocketConnection* socket, gint type, GBytes* message, gpointer self);
  static void onError(SoupWebsocketConnection* socket, const GError* error, gpointer self);
  static void onSocketClosed(SoupWebsocketConnection* socket, gpointer self);
  [[nodiscard]] bool open() const;
  [[nodiscard]] bool maySend();
  void sent(std::size_t bytes);
  void ask();
  void checkAnswer();
  void giveUp(SoupWebsocketCloseCode code, const char* why);
  void reportClosed();

  GlibPtr<SoupWebsocketConnection> socket;
  Handlers handlers;
  bool reported = false;
  std::string expectedWord;  // while a question waits for its answer
  int overdue = 0;           // intervals for which it has waited
  std::size_t unreadBytes = 0;
  std::size_t sentSinceQuestion = 0;
  std::size_t lastFrameBytes = 0;
  MainLoopSource questions;
  MainLoopSource end;
};

}  // namespace quorvin::webui
