#import "platform/macos/FlutterChannels.h"

#include <optional>
#include <utility>
#include <variant>

#include "platform/Fatal.h"
#import "platform/macos/Bridging.h"
#import "platform/macos/FlutterValue.h"

namespace quorvin {
namespace {

id<FlutterBinaryMessenger> messengerOf(const FlutterBinaryMessenger& messenger) {
  const auto* own = dynamic_cast<const MacFlutterBinaryMessenger*>(&messenger);
  if (own == nullptr) fatalError("A channel was asked for on a messenger of another maker.");
  return own->messenger();
}

struct AnswerMaker {
  id operator()(const Value& value) const { return toObject(value); }
  id operator()(const FlutterError& error) const {
    NSString* message = error.message ? toNSString(*error.message) : nil;
    return [::FlutterError errorWithCode:toNSString(error.code)
                                 message:message
                                 details:toObject(error.details)];
  }
  id operator()(FlutterMethodNotImplemented /*marker*/) const {
    return ::FlutterMethodNotImplemented;
  }
};

// What Flutter's blocks take for a reply or an event.
template <typename Answer>
id toAnswer(const Answer& answer) {
  return std::visit(AnswerMaker(), answer);
}

::FlutterError* toFlutterError(const std::optional<FlutterError>& error) {
  return error ? AnswerMaker()(*error) : nil;
}

}  // namespace
}  // namespace quorvin

// What an event channel keeps: passes on who listens.
@interface QuorvinEventStreamHandler : NSObject <FlutterStreamHandler>
- (instancetype)initWithHandler:(std::shared_ptr<quorvin::FlutterStreamHandler>)handler;
@end

@implementation QuorvinEventStreamHandler {
  std::shared_ptr<quorvin::FlutterStreamHandler> handler;
}

- (instancetype)initWithHandler:(std::shared_ptr<quorvin::FlutterStreamHandler>)newHandler {
  self = [super init];
  if (self != nil) handler = std::move(newHandler);
  return self;
}

- (FlutterError*)onListenWithArguments:(id)arguments eventSink:(FlutterEventSink)events {
  FlutterEventSink sink = [events copy];
  auto send = [sink](const quorvin::FlutterEvent& event) {
    // Of its own, so that a frame is gone once it has been sent.
    @autoreleasepool {
      sink(quorvin::toAnswer(event));
    }
  };
  return quorvin::toFlutterError(handler->onListen(quorvin::toValue(arguments), std::move(send)));
}

- (FlutterError*)onCancelWithArguments:(id)arguments {
  return quorvin::toFlutterError(handler->onCancel(quorvin::toValue(arguments)));
}

@end

namespace quorvin {

MacFlutterBinaryMessenger::MacFlutterBinaryMessenger(id<FlutterBinaryMessenger> messenger)
    : handle(messenger) {}

MacFlutterMethodChannel::MacFlutterMethodChannel(const std::string& name,
                                                 const FlutterBinaryMessenger& messenger)
    : channel([::FlutterMethodChannel methodChannelWithName:toNSString(name)
                                            binaryMessenger:messengerOf(messenger)]) {}

void MacFlutterMethodChannel::setMethodCallHandler(FlutterMethodCallHandler handler) {
  if (!handler) {
    // Removing a handler that was never there would leave a nil one to be called.
    if (std::exchange(hasHandler, false)) [channel setMethodCallHandler:nil];
    return;
  }
  const auto kept = std::make_shared<const FlutterMethodCallHandler>(std::move(handler));
  [channel setMethodCallHandler:^(::FlutterMethodCall* call, ::FlutterResult result) {
    ::FlutterResult answer = [result copy];
    (*kept)({toString(call.method), toValue(call.arguments)},
            [answer](const FlutterReply& reply) { answer(toAnswer(reply)); });
  }];
  hasHandler = true;
}

MacFlutterEventChannel::MacFlutterEventChannel(const std::string& name,
                                               const FlutterBinaryMessenger& messenger)
    : channel([::FlutterEventChannel eventChannelWithName:toNSString(name)
                                          binaryMessenger:messengerOf(messenger)]) {}

void MacFlutterEventChannel::setStreamHandler(std::shared_ptr<FlutterStreamHandler> handler) {
  if (handler == nullptr) return [channel setStreamHandler:nil];
  [channel setStreamHandler:[[QuorvinEventStreamHandler alloc] initWithHandler:std::move(handler)]];
}

MacFlutterBasicMessageChannel::MacFlutterBasicMessageChannel(
    const std::string& name, const FlutterBinaryMessenger& messenger)
    : channel([[::FlutterBasicMessageChannel alloc]
             initWithName:toNSString(name)
          binaryMessenger:messengerOf(messenger)
                    codec:[FlutterStringCodec sharedInstance]]) {}

void MacFlutterBasicMessageChannel::sendMessage(const std::string& message) {
  [channel sendMessage:toNSString(message)];
}

}  // namespace quorvin
