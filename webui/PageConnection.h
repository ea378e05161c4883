#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "platform/Data.h"
#include "platform/unix/MainLoopSource.h"
#include "webui/WebSocket.h"

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
    // The page has gone, or counts as gone. Called as a WebSocket's.
    std::function<void()> onClosed;
  };

  PageConnection(std::unique_ptr<WebSocket> socket, Handlers handlers,
                 std::chrono::milliseconds interval = questionInterval);
  PageConnection(const PageConnection&) = delete;
  PageConnection& operator=(const PageConnection&) = delete;

  void sendText(const std::string& text);
  void sendBinary(const Data& data);

  // What the page has sent in answer to a question.
  void answered(std::string_view word);
  // Whether the page's script has answered the last question, or had little time for it so far.
  [[nodiscard]] bool answering() const { return overdue == 0; }

 private:
  [[nodiscard]] bool maySend();
  void sent(std::size_t bytes);
  void ask();
  void checkAnswer();

  std::unique_ptr<WebSocket> socket;
  std::function<void()> onAnswering;
  std::string expectedWord;  // while a question waits for its answer
  int overdue = 0;           // intervals for which it has waited
  std::size_t unreadBytes = 0;
  std::size_t sentSinceQuestion = 0;
  std::size_t lastFrameBytes = 0;
  MainLoopSource questions;
};

}  // namespace quorvin::webui
