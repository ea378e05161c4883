#pragma once

#include <glib.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "platform/Data.h"
#include "platform/Value.h"
#include "platform/flutter/LinkFrame.h"
#include "platform/unix/FileDescriptor.h"
#include "platform/unix/MainLoopSource.h"
#include "platform/unix/ThreadCheck.h"

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

// The host's end of the connection to the user interface. Reads messages from the socket and hands
// them on in order; writes answers and events in the order that MessageQueue gives. Neither blocks,
// and each does a limited amount in one turn of the loop, so that a flood of messages or a large
// frame holds nothing else up.
//
// Belongs to the thread of the main context. Callbacks run in the loop, never inside one of the
// functions below: the link does not close during a call that sends.
class UiLink : public std::enable_shared_from_this<UiLink> {
 public:
  struct Callbacks {
    // One message, to be answered (if at all) with `reply` to its id.
    std::function<void(const LinkFrame& message)> onMessage;
    // Once, when the other side is gone, broke the rules of the link, or does not take its
    // answers. No message follows, and whatever is sent from then on is dropped.
    std::function<void()> onClosed;
  };

  // Takes over a connected stream socket.
  [[nodiscard]] static std::shared_ptr<UiLink> open(GMainContext* context, FileDescriptor socket,
                                                    Callbacks callbacks);

  UiLink(GMainContext* context, FileDescriptor socket, Callbacks callbacks);
  UiLink(const UiLink&) = delete;
  UiLink& operator=(const UiLink&) = delete;
  ~UiLink() = default;

  // Answers the message of that id; nothing stands for the null reply. Dropped unless that
  // message still waits for its answer.
  void reply(std::uint32_t id, std::optional<Bytes> payload);
  // Sends an event; one that still waits on that channel is forgotten for it.
  void sendEvent(std::string_view channel, Value event);
  // Sends a message that wants no reply, after what was sent before it. One that is too long for a
  // frame is dropped.
  void sendMessage(std::string_view channel, Bytes payload);
  // Forgets the channel's event that still waits.
  void dropEvent(std::string_view channel);
  // Closes this end without calling onClosed.
  void close();

  [[nodiscard]] bool isOpen() const { return socket.isOpen(); }

 private:
  enum class Reading { drained, moreToCome, ended };

  void start();
  void watchForInput();
  MainLoopSource::Next onReadable();
  Reading readSome();
  Reading handleBuffered(int& messagesLeft);
  bool accept(const LinkFrame& frame);
  void push(Bytes frame);
  void flush();
  bool writeSome();
  // Closes because of what the other side did; tells so in a later turn.
  void fail();

  GMainContext* context;
  ThreadCheck thread;
  FileDescriptor socket;
  Callbacks callbacks;
  LinkFrameReader reader;
  MessageQueue queue;
  std::unordered_set<std::uint32_t> unanswered;
  MainLoopSource inputSource;  // watches the socket, or waits for its next turn
  MainLoopSource outputSource;
  MainLoopSource closedSource;
  std::array<std::uint8_t, std::size_t{64} * 1024> inputChunk{};
};

}  // namespace quorvin
