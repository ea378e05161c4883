#pragma once

#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "platform/Flutter.h"
#include "tests/contract/Contract.h"
#include "tests/contract/Record.h"
#include "tests/contract/RecordingStreamHandler.h"

namespace quorvin::contract {

// What the user interface gets for a call. The null reply is that of a channel that nobody handles
// and of a method that is not implemented.
struct NullReply {
  friend bool operator==(NullReply, NullReply) = default;
};
using UiReply = std::variant<NullReply, Value, FlutterError>;

// A running engine, and the user interface at the other end of its messenger.
class FlutterWorld {
 public:
  FlutterWorld() = default;
  FlutterWorld(const FlutterWorld&) = delete;
  FlutterWorld& operator=(const FlutterWorld&) = delete;
  virtual ~FlutterWorld() = default;

  virtual Flutter& flutter() = 0;
  virtual std::shared_ptr<FlutterBinaryMessenger> messenger() = 0;
  // Lets messages travel both ways until the condition holds; false when it never does.
  virtual bool runUntil(const Condition& condition) = 0;
  // Lets everything arrive that is on its way.
  virtual void settle() = 0;

  // The user interface calls, and notes every reply.
  virtual Record<UiReply> call(const std::string& channel, const std::string& method,
                               const Value& arguments) = 0;
  virtual Record<UiReply> listen(const std::string& channel, const Value& arguments) = 0;
  virtual Record<UiReply> cancel(const std::string& channel, const Value& arguments) = 0;
  // What it has received on a channel so far.
  virtual std::vector<FlutterEvent> events(const std::string& channel) = 0;
  virtual std::vector<std::string> texts(const std::string& channel) = 0;
};

class FlutterContract : public Contract<FlutterWorld> {
 protected:
  // The one reply to what the user interface asked.
  UiReply replyTo(const Record<UiReply>& replies);
  bool runUntil(const Condition& condition) { return world->runUntil(condition); }
};

class FlutterMethodContract : public FlutterContract {
 protected:
  static constexpr auto name = "contract/methods";
  UiReply call(const std::string& method, const Value& arguments = {}) {
    return replyTo(world->call(name, method, arguments));
  }

  std::unique_ptr<FlutterMethodChannel> channel =
      world->flutter().makeMethodChannel(name, world->messenger());
};

class FlutterEventContract : public FlutterContract {
 protected:
  static constexpr auto name = "contract/events";
  UiReply listen(const Value& arguments = {}) { return replyTo(world->listen(name, arguments)); }
  UiReply cancel(const Value& arguments = {}) { return replyTo(world->cancel(name, arguments)); }
  // One at a time, as a newer event may take the place of one that still waits.
  void sendAndExpect(const FlutterEvent& event);

  std::shared_ptr<RecordingStreamHandler> handler = std::make_shared<RecordingStreamHandler>();
  std::unique_ptr<FlutterEventChannel> channel =
      world->flutter().makeEventChannel(name, world->messenger());
};

class FlutterTextContract : public FlutterContract {
 protected:
  static constexpr auto name = "contract/texts";

  std::unique_ptr<FlutterBasicMessageChannel> channel =
      world->flutter().makeBasicMessageChannel(name, world->messenger());
};

}  // namespace quorvin::contract
