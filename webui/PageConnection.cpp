#include "webui/PageConnection.h"

#include <utility>

#include "webui/AccessRules.h"
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

PageConnection::PageConnection(std::unique_ptr<WebSocket> givenSocket, Handlers handlers,
                               std::chrono::milliseconds interval)
    : socket(std::move(givenSocket)), onAnswering(std::move(handlers.onAnswering)) {
  socket->listen(
      {std::move(handlers.onText), std::move(handlers.onBinary), std::move(handlers.onClosed)});
  questions = MainLoopSource::onTimeout(nullptr, interval, [this] {
    checkAnswer();
    return MainLoopSource::Next::again;
  });
}

void PageConnection::sendText(const std::string& text) {
  if (!maySend()) return;
  socket->sendText(text);
  sent(text.size());
}

void PageConnection::sendBinary(const Data& data) {
  if (!maySend()) return;
  socket->sendBinary(data.bytes());
  lastFrameBytes = data.size();
  sent(data.size());
}

bool PageConnection::maySend() {
  if (!socket->isOpen()) return false;
  if (unreadBytes <= unreadBytesMax + lastFrameBytes) return true;
  socket->close(WebSocket::CloseCode::policyViolation, "the page does not read");
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
  socket->forgetFrames();
  if (std::exchange(overdue, 0) > 0) onAnswering();
  if (unreadBytes > unreadBytesAsked) ask();
}

void PageConnection::checkAnswer() {
  if (expectedWord.empty()) {
    ask();
  } else if (++overdue == 1) {
    onAnswering();
  } else if (overdue == overdueMax) {
    socket->close(WebSocket::CloseCode::goingAway, "the page does not answer");
  }
}

}  // namespace quorvin::webui
