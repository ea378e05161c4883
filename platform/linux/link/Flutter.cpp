#include "platform/linux/link/Flutter.h"

#include <cassert>
#include <span>
#include <utility>
#include <variant>

#include "platform/Fatal.h"
#include "platform/Interface.h"
#include "platform/flutter/StandardCodec.h"
#include "platform/flutter/Utf8.h"

namespace quorvin {

// Handles the messages of one channel.
class ChannelHandler : public Interface {
 public:
  virtual void onMessage(std::span<const std::uint8_t> payload, MessageAnswer answer) = 0;
  // The user interface is gone: whatever it listened to counts as cancelled.
  virtual void cancelListener() = 0;
};

namespace {

// A reply that the codec cannot say (text of the system's that is not UTF-8, say) becomes the null
// reply: whoever asked must not wait for ever.
std::optional<Bytes> encodeReply(const FlutterReply& reply) {
  try {
    if (const auto* value = std::get_if<Value>(&reply)) return encodeSuccessEnvelope(*value);
    if (const auto* error = std::get_if<FlutterError>(&reply)) return encodeErrorEnvelope(*error);
  } catch (const CodecError&) {
    return std::nullopt;
  }
  return std::nullopt;
}

std::optional<FlutterMethodCall> decodeCall(std::span<const std::uint8_t> payload) {
  try {
    return decodeMethodCall(payload);
  } catch (const CodecError&) {
    return std::nullopt;
  }
}

class MethodHandler final : public ChannelHandler {
 public:
  explicit MethodHandler(FlutterMethodCallHandler handler) : handler(std::move(handler)) {}

  void onMessage(std::span<const std::uint8_t> payload, MessageAnswer answer) override {
    const auto call = decodeCall(payload);
    if (!call) return answer(std::nullopt);
    handler(*call, [answer = std::move(answer)](const FlutterReply& reply) {
      answer(encodeReply(reply));
    });
  }

  void cancelListener() override {}

 private:
  FlutterMethodCallHandler handler;
};

// One listening of the user interface. Its sink holds it weakly: after a cancel, or once the
// channel has another handler, what the host still sends goes nowhere.
class EventStream {
 public:
  EventStream(std::weak_ptr<LinuxMessenger> messenger, std::string channel)
      : messenger(std::move(messenger)), channel(std::move(channel)) {}
  EventStream(const EventStream&) = delete;
  EventStream& operator=(const EventStream&) = delete;
  ~EventStream() {
    if (const auto owner = messenger.lock()) owner->dropEvent(channel);
  }

  void send(FlutterEvent event) {
    const auto owner = messenger.lock();
    if (owner == nullptr) return;
    if (const auto* error = std::get_if<FlutterError>(&event)) {
      if (auto envelope = encodeReply(*error)) owner->sendMessage(channel, *std::move(envelope));
    } else {
      owner->sendEvent(channel, std::get<Value>(std::move(event)));
    }
  }

 private:
  std::weak_ptr<LinuxMessenger> messenger;
  std::string channel;
};

class EventHandler final : public ChannelHandler {
 public:
  EventHandler(std::weak_ptr<LinuxMessenger> messenger, std::string channel,
               std::shared_ptr<FlutterStreamHandler> handler)
      : messenger(std::move(messenger)), channel(std::move(channel)), handler(std::move(handler)) {}

  void onMessage(std::span<const std::uint8_t> payload, MessageAnswer answer) override {
    const auto call = decodeCall(payload);
    if (call && call->method == "listen") return answer(listen(call->arguments));
    if (call && call->method == "cancel") return answer(cancel(call->arguments));
    answer(std::nullopt);
  }

  void cancelListener() override {
    if (stream == nullptr) return;
    stream.reset();
    handler->onCancel(Value());
  }

 private:
  std::optional<Bytes> listen(const Value& arguments) {
    cancelListener();
    stream = std::make_shared<EventStream>(messenger, channel);
    auto sink = [weak = std::weak_ptr(stream)](FlutterEvent event) {
      if (const auto listened = weak.lock()) listened->send(std::move(event));
    };
    return encodeOutcome(handler->onListen(arguments, std::move(sink)));
  }

  std::optional<Bytes> cancel(const Value& arguments) {
    if (stream == nullptr) {
      return encodeReply(FlutterError{"error", "No active stream to cancel", {}});
    }
    stream.reset();
    return encodeOutcome(handler->onCancel(arguments));
  }

  static std::optional<Bytes> encodeOutcome(const std::optional<FlutterError>& error) {
    return error ? encodeReply(*error) : encodeReply(Value());
  }

  std::weak_ptr<LinuxMessenger> messenger;
  std::string channel;
  std::shared_ptr<FlutterStreamHandler> handler;
  std::shared_ptr<EventStream> stream;  // present while the user interface listens
};

std::shared_ptr<LinuxMessenger> asLinuxMessenger(
    const std::shared_ptr<FlutterBinaryMessenger>& messenger) {
  auto own = std::dynamic_pointer_cast<LinuxMessenger>(messenger);
  if (own == nullptr) fatalError("A channel needs the messenger of a view controller.");
  return own;
}

}  // namespace

void LinuxMessenger::run(GMainContext* context, FileDescriptor socket,
                         std::function<void()> onClosed) {
  // The link lives no longer than this messenger, which may go while one of these runs.
  link = UiLink::open(context, std::move(socket),
                      {.onMessage =
                           [weak = weak_from_this()](const LinkFrame& message) {
                             if (auto messenger = weak.lock()) messenger->onMessage(message);
                           },
                       .onClosed =
                           [weak = weak_from_this(), onClosed = std::move(onClosed)] {
                             if (auto messenger = weak.lock()) messenger->cancelListeners();
                             onClosed();
                           }});
}

void LinuxMessenger::shutDown() {
  cancelListeners();
  // Handlers hold parts of the program, whose end may call back here.
  const auto forgotten = std::exchange(handlers, {});
  if (link != nullptr) link->close();
}

void LinuxMessenger::setHandler(const std::string& channel, std::weak_ptr<ChannelHandler>& own,
                                std::shared_ptr<ChannelHandler> handler) {
  assert(thread.isCurrent());
  const auto former = std::exchange(own, handler).lock();
  // A handler's end may call back, so that each is kept here until `handlers` is as it should be.
  if (handler != nullptr) {
    const auto replaced = std::exchange(handlers[channel], std::move(handler));
  } else if (const auto entry = handlers.find(channel);
             entry != handlers.end() && entry->second == former) {
    handlers.erase(entry);
  }
}

void LinuxMessenger::sendEvent(std::string_view channel, Value event) {
  if (link != nullptr) link->sendEvent(channel, std::move(event));
}

void LinuxMessenger::sendMessage(std::string_view channel, Bytes payload) {
  if (link != nullptr) link->sendMessage(channel, std::move(payload));
}

void LinuxMessenger::dropEvent(std::string_view channel) {
  if (link != nullptr) link->dropEvent(channel);
}

void LinuxMessenger::onMessage(const LinkFrame& message) {
  assert(thread.isCurrent());
  auto answer = makeAnswer(message.id);
  const auto entry = handlers.find(message.channel);
  if (entry == handlers.end()) return answer(std::nullopt);
  const auto handler = entry->second;  // stays while it runs, even if it removes itself
  handler->onMessage(message.payload.bytes(), std::move(answer));
}

MessageAnswer LinuxMessenger::makeAnswer(std::uint32_t id) {
  // Copies of the answer share the note that it was given: the user interface may use the id for
  // another message by then.
  auto given = std::make_shared<bool>(id == 0);
  return [weak = weak_from_this(), id, given](std::optional<Bytes> payload) {
    if (std::exchange(*given, true)) return;
    if (auto messenger = weak.lock(); messenger != nullptr && messenger->link != nullptr) {
      messenger->link->reply(id, std::move(payload));
    }
  };
}

void LinuxMessenger::cancelListeners() {
  assert(thread.isCurrent());
  const auto cancelled = handlers;  // a cancelled listener may change the handlers
  for (const auto& [channel, handler] : cancelled) handler->cancelListener();
}

LinuxMethodChannel::LinuxMethodChannel(std::string name, std::shared_ptr<LinuxMessenger> messenger)
    : name(std::move(name)), messenger(std::move(messenger)) {}

void LinuxMethodChannel::setMethodCallHandler(FlutterMethodCallHandler handler) {
  messenger->setHandler(name, current,
                        handler ? std::make_shared<MethodHandler>(std::move(handler)) : nullptr);
}

LinuxEventChannel::LinuxEventChannel(std::string name, std::shared_ptr<LinuxMessenger> messenger)
    : name(std::move(name)), messenger(std::move(messenger)) {}

void LinuxEventChannel::setStreamHandler(std::shared_ptr<FlutterStreamHandler> handler) {
  messenger->setHandler(
      name, current,
      handler ? std::make_shared<EventHandler>(messenger, name, std::move(handler)) : nullptr);
}

LinuxBasicMessageChannel::LinuxBasicMessageChannel(std::string name,
                                                   std::shared_ptr<LinuxMessenger> messenger)
    : name(std::move(name)), messenger(std::move(messenger)) {}

void LinuxBasicMessageChannel::sendMessage(const std::string& message) {
  if (isUtf8(message)) messenger->sendMessage(name, Bytes(message.begin(), message.end()));
}

std::shared_ptr<FlutterViewController> LinuxFlutter::makeViewController() {
  return std::make_shared<LinuxFlutterViewController>();
}

std::unique_ptr<FlutterMethodChannel> LinuxFlutter::makeMethodChannel(
    const std::string& name, std::shared_ptr<FlutterBinaryMessenger> messenger) {
  return std::make_unique<LinuxMethodChannel>(name, asLinuxMessenger(messenger));
}

std::unique_ptr<FlutterEventChannel> LinuxFlutter::makeEventChannel(
    const std::string& name, std::shared_ptr<FlutterBinaryMessenger> messenger) {
  return std::make_unique<LinuxEventChannel>(name, asLinuxMessenger(messenger));
}

std::unique_ptr<FlutterBasicMessageChannel> LinuxFlutter::makeBasicMessageChannel(
    const std::string& name, std::shared_ptr<FlutterBinaryMessenger> messenger) {
  return std::make_unique<LinuxBasicMessageChannel>(name, asLinuxMessenger(messenger));
}

}  // namespace quorvin
