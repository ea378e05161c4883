#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Data.h"
#include "platform/Value.h"

namespace quorvin {

// What waits to be written to the user interface, and in which order; knows nothing of sockets.
//
// Everything goes out in the order given. No message (reply, text, stream error) is dropped. Events
// are frames of the screen, of which only the newest is of use: a newer event of a channel drops
// the waiting one and goes to the end. So a message waits for one event of a channel at most. An
// event is encoded when its turn comes, so that a dropped one costs nothing. One thread.
class MessageQueue {
 public:
  // Bytes of messages that may wait: a reader who asks on without taking the answers is broken.
  static constexpr std::size_t waitingBytesMax = std::size_t{64} * 1024 * 1024;

  // `frame` is a whole frame of the link. False, and nothing is queued, when more than
  // waitingBytesMax would wait.
  [[nodiscard]] bool pushMessage(Bytes frame);
  // Forgets an event of that channel that still waits. One that cannot be encoded is dropped when
  // its turn comes.
  void pushEvent(std::string_view channel, Value event);
  // Forgets the event of that channel that still waits, if any: a cancelled listener wants none.
  void dropEvent(std::string_view channel);

  // The bytes to write next, none when nothing waits; they stay where they are until `wrote`.
  [[nodiscard]] std::span<const std::uint8_t> next();
  // The first `count` bytes of next() are written.
  void wrote(std::size_t count);

  // Bytes of messages that are not written yet.
  [[nodiscard]] std::size_t waitingBytes() const { return messageBytes; }

 private:
  struct WaitingMessage {
    std::uint64_t turn;
    Bytes frame;
  };
  struct WaitingEvent {
    std::uint64_t turn;
    std::string channel;
    Value event;
  };

  [[nodiscard]] bool isMessageNext() const;
  void beginMessage();
  void beginEvent();

  Bytes current;
  std::size_t currentWritten = 0;
  bool currentIsMessage = false;
  std::uint64_t lastTurn = 0;
  std::deque<WaitingMessage> messages;  // by their turns, as are the events
  std::size_t messageBytes = 0;
  std::vector<WaitingEvent> events;
};

}  // namespace quorvin
