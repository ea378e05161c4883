#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <variant>

#include "platform/Interface.h"
#include "platform/Value.h"

namespace quorvin {

// The channels between the host and its user interface, as Flutter defines them
// (https://docs.flutter.dev/platform-integration/platform-channels). Everything here belongs to
// the main thread.

struct FlutterError {
  std::string code;
  std::optional<std::string> message;
  Value details;

  friend bool operator==(const FlutterError&, const FlutterError&) = default;
};

struct FlutterMethodNotImplemented {
  friend bool operator==(FlutterMethodNotImplemented, FlutterMethodNotImplemented) = default;
};

struct FlutterMethodCall {
  std::string method;
  Value arguments;  // null when the call brought none
};

using FlutterReply = std::variant<Value, FlutterError, FlutterMethodNotImplemented>;

// Answers one call; must be called exactly once.
using FlutterResult = std::function<void(FlutterReply)>;
using FlutterMethodCallHandler = std::function<void(const FlutterMethodCall&, FlutterResult)>;

// A newer event may take the place of one that still waits to be sent; errors are all sent.
using FlutterEvent = std::variant<Value, FlutterError>;
using FlutterEventSink = std::function<void(FlutterEvent)>;

// Carries the messages of one engine; only handed on.
class FlutterBinaryMessenger : public Interface {};

class FlutterMethodChannel : public Interface {
 public:
  // The messenger keeps the handler until it is replaced or removed (an empty one removes), also
  // when this channel has gone. Calls that it has not answered yet may still be answered then.
  virtual void setMethodCallHandler(FlutterMethodCallHandler handler) = 0;
};

// Hears of who listens, with one listener at most: a second one is preceded by a cancel without
// arguments, and a cancel while nobody listens is refused and not passed on. An error from onListen
// is the listener's answer but leaves it listening.
class FlutterStreamHandler : public Interface {
 public:
  virtual std::optional<FlutterError> onListen(const Value& arguments, FlutterEventSink sink) = 0;
  virtual std::optional<FlutterError> onCancel(const Value& arguments) = 0;
};

class FlutterEventChannel : public Interface {
 public:
  // The messenger keeps the handler until it is replaced or removed (a null one removes, without
  // cancelling the listener).
  virtual void setStreamHandler(std::shared_ptr<FlutterStreamHandler> handler) = 0;
};

// Plain text messages on a channel of their own, as UTF-8 without an envelope. A text ends at its
// first NUL character on some systems.
class FlutterBasicMessageChannel : public Interface {
 public:
  // No answer is asked for.
  virtual void sendMessage(const std::string& message) = 0;
};

// Holds the user interface's view and, with it, the engine that runs it.
class FlutterViewController : public Interface {
 public:
  // The messenger of this controller's engine; usable at once.
  [[nodiscard]] virtual std::shared_ptr<FlutterBinaryMessenger> binaryMessenger() = 0;
  // Registers the plug-in of that registrar key with this controller as registry. Nothing happens
  // on a system whose user interface brings no such plug-in.
  virtual void registerPlugin(const std::string& key) = 0;
};

class Flutter : public Interface {
 public:
  [[nodiscard]] virtual std::shared_ptr<FlutterViewController> makeViewController() = 0;
  // Both with the standard method codec.
  [[nodiscard]] virtual std::unique_ptr<FlutterMethodChannel> makeMethodChannel(
      const std::string& name, std::shared_ptr<FlutterBinaryMessenger> messenger) = 0;
  [[nodiscard]] virtual std::unique_ptr<FlutterEventChannel> makeEventChannel(
      const std::string& name, std::shared_ptr<FlutterBinaryMessenger> messenger) = 0;
  // With the string codec.
  [[nodiscard]] virtual std::unique_ptr<FlutterBasicMessageChannel> makeBasicMessageChannel(
      const std::string& name, std::shared_ptr<FlutterBinaryMessenger> messenger) = 0;
};

}  // namespace quorvin
