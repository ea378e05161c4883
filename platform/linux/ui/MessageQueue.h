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
// Messages (replies, stream errors) go out in the order given, and all of them do. Events are
// frames of the screen, of which only the newest is of use: per channel one waits at most, after
// every message, and is encoded when its turn comes, so that a replaced one has cost nothing.
// What has begun to go out is finished first. One thread.
class MessageQueue {
 public:
  // Bytes of messages that may wait: a reader who asks on without taking the answers is broken.
  static constexpr std::size_t waitingBytesMax = std::size_t{64} * 1024 * 1024;

  // `frame` is a whole frame of the link. False, and nothing is queued, when more than
  // waitingBytesMax would wait.
  [[nodiscard]] bool pushMessage(Bytes frame);
  // Takes the place of an event of that channel that still waits. One that cannot be encoded is
  // dropped when its turn comes.
  void pushEvent(std::string_view channel, Value event);
  // Forgets the event of that channel that still waits, if any: one that came before an error of
  // the stream must not follow it, and a cancelled listener wants none.
  void dropEvent(std::string_view channel);

  // The bytes to write next, none when nothing waits; they stay where they are until `wrote`.
  [[nodiscard]] std::span<const std::uint8_t> next();
  // The first `count` bytes of next() are written.
  void wrote(std::size_t count);

  // Bytes of messages that are not written yet.
  [[nodiscard]] std::size_t waitingBytes() const { return messageBytes; }

 private:
  struct WaitingEvent {
    std::string channel;
    Value event;
  };

  void beginNext();

  Bytes current;
  std::size_t currentWritten = 0;
  bool currentIsMessage = false;
  std::deque<Bytes> messages;
  std::size_t messageBytes = 0;
  std::vector<WaitingEvent> events;
};

}  // namespace quorvin
