#import <FlutterMacOS/FlutterMacOS.h>

#include <string>

#include "tests/macos/standin/CallLog.h"
#include "tests/macos/standin/Objects.h"

namespace {

NSObject* makeMarker() {
  NSObject* marker = [[NSObject alloc] init];
  standin::makeImmortal((__bridge const void*)marker);
  return marker;
}

void channelCall(const char* name, NSString* channel) {
  standin::requireMainThread(name);
  standin::record(name, {channel.UTF8String});
}

}  // namespace

NSObject const* FlutterMethodNotImplemented = makeMarker();

@implementation FlutterBasicMessageChannel {
  NSString* _name;
  NSObject<FlutterBinaryMessenger>* _messenger;
  NSObject<FlutterMessageCodec>* _codec;
}

- (instancetype)initWithName:(NSString*)name
             binaryMessenger:(NSObject<FlutterBinaryMessenger>*)messenger
                       codec:(NSObject<FlutterMessageCodec>*)codec {
  channelCall("-[FlutterBasicMessageChannel initWithName:binaryMessenger:codec:]", name);
  self = [super init];
  if (self != nil) {
    _name = [name copy];
    _messenger = messenger;
    _codec = codec;
  }
  return self;
}

- (void)sendMessage:(id)message {
  channelCall("-[FlutterBasicMessageChannel sendMessage:]", _name);
  [_messenger sendOnChannel:_name message:[_codec encode:message]];
}

@end

@implementation FlutterMethodChannel {
  NSString* _name;
  NSObject<FlutterBinaryMessenger>* _messenger;
  FlutterBinaryMessengerConnection _connection;
}

+ (instancetype)methodChannelWithName:(NSString*)name
                      binaryMessenger:(NSObject<FlutterBinaryMessenger>*)messenger {
  channelCall("+[FlutterMethodChannel methodChannelWithName:binaryMessenger:]", name);
  FlutterMethodChannel* channel = [[FlutterMethodChannel alloc] init];
  channel->_name = [name copy];
  channel->_messenger = messenger;
  return channel;
}

- (void)setMethodCallHandler:(FlutterMethodCallHandler)handler {
  channelCall(handler == nil ? "-[FlutterMethodChannel setMethodCallHandler:nil]"
                             : "-[FlutterMethodChannel setMethodCallHandler:]",
              _name);
  if (handler != nil) {
    _connection = [_messenger setMessageHandlerOnChannel:_name
                                    binaryMessageHandler:[self messageHandlerFor:handler]];
  } else if (_connection > 0) {
    [_messenger cleanUpConnection:_connection];
    _connection = 0;
  } else {
    // This is what the embedding does with a handler that was never set.
    [_messenger setMessageHandlerOnChannel:_name binaryMessageHandler:nil];
  }
}

// Knows the handler and not the channel, which may go before it.
- (FlutterBinaryMessageHandler)messageHandlerFor:(FlutterMethodCallHandler)handler {
  FlutterStandardMethodCodec* codec = [FlutterStandardMethodCodec sharedInstance];
  return ^(NSData* message, FlutterBinaryReply reply) {
    handler([codec decodeMethodCall:message], ^(id result) {
      if (result == FlutterMethodNotImplemented) {
        reply(nil);
      } else if ([result isKindOfClass:[FlutterError class]]) {
        reply([codec encodeErrorEnvelope:result]);
      } else {
        reply([codec encodeSuccessEnvelope:result]);
      }
    });
  };
}

@end

// One stream handler that was set on an event channel, and whether anybody listens to it.
@interface FlutterEventStream : NSObject
- (instancetype)initWithName:(NSString*)name
                   messenger:(NSObject<FlutterBinaryMessenger>*)messenger
                     handler:(NSObject<FlutterStreamHandler>*)handler;
- (NSData*)answerTo:(NSData*)message;
@end

@implementation FlutterEventStream {
  NSString* _name;
  NSObject<FlutterBinaryMessenger>* _messenger;
  NSObject<FlutterStreamHandler>* _handler;
  FlutterEventSink _currentSink;
}

- (instancetype)initWithName:(NSString*)name
                   messenger:(NSObject<FlutterBinaryMessenger>*)messenger
                     handler:(NSObject<FlutterStreamHandler>*)handler {
  self = [super init];
  if (self != nil) {
    _name = name;
    _messenger = messenger;
    _handler = handler;
  }
  return self;
}

- (NSData*)answerTo:(NSData*)message {
  FlutterMethodCall* call = [[FlutterStandardMethodCodec sharedInstance] decodeMethodCall:message];
  if ([call.method isEqualToString:@"listen"]) return [self listen:call.arguments];
  if ([call.method isEqualToString:@"cancel"]) return [self cancel:call.arguments];
  return nil;
}

- (NSData*)listen:(id)arguments {
  if (_currentSink != nil) [_handler onCancelWithArguments:nil];
  _currentSink = [self makeSink];
  return [self envelopeFor:[_handler onListenWithArguments:arguments eventSink:_currentSink]];
}

- (NSData*)cancel:(id)arguments {
  if (_currentSink == nil) {
    return [self envelopeFor:[FlutterError errorWithCode:@"error"
                                                 message:@"No active stream to cancel"
                                                 details:nil]];
  }
  _currentSink = nil;
  return [self envelopeFor:[_handler onCancelWithArguments:arguments]];
}

- (NSData*)envelopeFor:(FlutterError*)error {
  FlutterStandardMethodCodec* codec = [FlutterStandardMethodCodec sharedInstance];
  return error == nil ? [codec encodeSuccessEnvelope:nil] : [codec encodeErrorEnvelope:error];
}

// Stays usable after the stream was cancelled, as the embedding's does.
- (FlutterEventSink)makeSink {
  NSString* name = _name;
  NSObject<FlutterBinaryMessenger>* messenger = _messenger;
  FlutterStandardMethodCodec* codec = [FlutterStandardMethodCodec sharedInstance];
  return ^(id event) {
    channelCall("FlutterEventSink", name);
    if ([event isKindOfClass:[FlutterError class]]) {
      [messenger sendOnChannel:name message:[codec encodeErrorEnvelope:event]];
    } else {
      [messenger sendOnChannel:name message:[codec encodeSuccessEnvelope:event]];
    }
  };
}

@end

@implementation FlutterEventChannel {
  NSString* _name;
  NSObject<FlutterBinaryMessenger>* _messenger;
  FlutterBinaryMessengerConnection _connection;
}

+ (instancetype)eventChannelWithName:(NSString*)name
                     binaryMessenger:(NSObject<FlutterBinaryMessenger>*)messenger {
  channelCall("+[FlutterEventChannel eventChannelWithName:binaryMessenger:]", name);
  FlutterEventChannel* channel = [[FlutterEventChannel alloc] init];
  channel->_name = [name copy];
  channel->_messenger = messenger;
  return channel;
}

- (void)setStreamHandler:(NSObject<FlutterStreamHandler>*)handler {
  channelCall(handler == nil ? "-[FlutterEventChannel setStreamHandler:nil]"
                             : "-[FlutterEventChannel setStreamHandler:]",
              _name);
  if (handler == nil) {
    [_messenger cleanUpConnection:_connection];
    _connection = 0;
    return;
  }
  FlutterEventStream* stream = [[FlutterEventStream alloc] initWithName:_name
                                                              messenger:_messenger
                                                                handler:handler];
  _connection =
      [_messenger setMessageHandlerOnChannel:_name
                        binaryMessageHandler:^(NSData* message, FlutterBinaryReply reply) {
                          reply([stream answerTo:message]);
                        }];
}

@end
