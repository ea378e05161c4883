#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>

#include "platform/Data.h"
#include "platform/Flutter.h"
#include "platform/flutter/LinkFrame.h"
#include "platform/unix/FileDescriptor.h"

namespace quorvin {

// A user interface that speaks the UI link (see LinkFrame.h) and blocks where it waits. One
// thread.
class LinkClient {
 public:
  using Milliseconds = std::chrono::milliseconds;
  static constexpr Milliseconds timeout = std::chrono::seconds(20);
  static constexpr auto methodChannel = "com.quorvin.support/host";
  static constexpr auto frameChannel = "com.quorvin.support/frames";
  static constexpr auto lifecycleChannel = "flutter/lifecycle";

  // The host did not answer in time, or closed the link where an answer was due.
  class NoAnswer : public std::runtime_error {
   public:
    using std::runtime_error::runtime_error;
  };

  // Takes over a connected stream socket.
  explicit LinkClient(FileDescriptor socket);

  // Calls a method of the host and waits for the reply; events that come first are kept.
  FlutterReply call(const std::string& method, const Value& arguments = {});
  FlutterReply callOn(const std::string& channel, const std::string& method,
                      const Value& arguments = {});
  FlutterReply listen() { return callOn(frameChannel, "listen"); }
  FlutterReply cancel() { return callOn(frameChannel, "cancel"); }

  // The two halves of a call, for those who want several under way.
  std::uint32_t send(const std::string& channel, const std::string& method,
                     const Value& arguments = {});
  FlutterReply waitForReply(std::uint32_t id);

  // The next event or stream error, nothing when none comes within the time.
  std::optional<FlutterEvent> nextEvent(Milliseconds within = timeout);
  // How many have arrived after the last reply that has.
  [[nodiscard]] std::size_t eventsAfterReply() const { return eventsSinceReply; }
  // The next text of the lifecycle channel, nothing when none comes within the time.
  std::optional<std::string> nextLifecycleState(Milliseconds within = timeout);
  // Takes texts of the lifecycle channel up to the first of this kind; whether that came in time.
  bool waitForLifecycleState(const std::string& state);
  // Reads nothing until no more arrives for a while: the link is full, or nothing is sent.
  void waitUntilStuck() const;
  // Forgets the events that have arrived so far, and reads all that have.
  void discardEvents();

  // Whether the host closes the link within the time; reads on until then.
  bool isClosedWithin(Milliseconds within = timeout);
  void sendBytes(std::span<const std::uint8_t> bytes);
  void close() { socket.reset(); }

 private:
  using Clock = std::chrono::steady_clock;

  // Reads what has arrived; waits until something does or the deadline has passed. False in the
  // latter case and when the link is closed.
  bool receive(Clock::time_point deadline);
  void sort(const LinkFrame& frame);

  FileDescriptor socket;
  LinkFrameReader reader;
  std::uint32_t lastId = 0;
  std::map<std::uint32_t, FlutterReply> replies;
  std::deque<FlutterEvent> events;
  std::size_t eventsSinceReply = 0;
  std::deque<std::string> lifecycleStates;
  bool isClosed = false;
};

}  // namespace quorvin
