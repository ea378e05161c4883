#import <AppKit/AppKit.h>
#import <FlutterMacOS/FlutterBinaryMessengerRelay.h>
#import <FlutterMacOS/FlutterEngineStandIn.h>
#import <FlutterMacOS/FlutterPluginRegistrarStandIn.h>

#include <map>
#include <memory>
#include <utility>

#include "tests/macos/standin/CallLog.h"

namespace standin {

WireMessage toWireMessage(NSData* data) {
  if (data == nil) return {};
  const auto* bytes = static_cast<const std::uint8_t*>(data.bytes);
  return quorvin::Bytes(bytes, bytes + data.length);
}

NSData* toNSData(const WireMessage& message) {
  return message ? [NSData dataWithBytes:message->data() length:message->size()] : nil;
}

}  // namespace standin

namespace {

struct Handler {
  FlutterBinaryMessengerConnection connection = 0;
  FlutterBinaryMessageHandler block = nil;
};

struct PendingAnswer {
  std::function<void(standin::WireMessage)> give;  // empty once given
  std::string channel;
};

void answerOnce(PendingAnswer& pending, bool isEngineThere, NSData* reply) {
  standin::requireMainThread("FlutterBinaryReply");
  if (!isEngineThere) return;
  if (!pending.give) {
    return standin::violation("A message on \"" + pending.channel + "\" was answered twice.");
  }
  std::exchange(pending.give, nullptr)(standin::toWireMessage(reply));
}

}  // namespace

@interface FlutterEngine () <FlutterBinaryMessenger>
@end

@implementation FlutterEngine {
  BOOL _isRunning;
  BOOL _isShutDown;
  FlutterBinaryMessengerRelay* _relay;
  FlutterBinaryMessengerConnection _lastConnection;
  std::map<std::string, Handler> _handlers;
  std::vector<standin::SentMessage> _sent;
  NSMutableDictionary<NSString*, id<FlutterPluginRegistrar>>* _registrars;
  NSMutableArray<id<NSObject>>* _observers;
}

- (instancetype)initWithName:(NSString*)labelPrefix
                     project:(FlutterDartProject*)project
      allowHeadlessExecution:(BOOL)allowHeadlessExecution {
  standin::requireMainThread("-[FlutterEngine initWithName:project:allowHeadlessExecution:]");
  self = [super init];
  if (self != nil) {
    _relay = [[FlutterBinaryMessengerRelay alloc] initWithParent:self];
    _registrars = [NSMutableDictionary dictionary];
    __weak FlutterEngine* weakSelf = self;
    _observers = [NSMutableArray array];
    [self observe:NSApplicationWillTerminateNotification
             with:^{
               [weakSelf shutDownEngine];
             }];
    for (NSNotificationName name in @[
           NSApplicationDidBecomeActiveNotification, NSApplicationDidResignActiveNotification,
           NSApplicationDidChangeOcclusionStateNotification
         ]) {
      [self observe:name
               with:^{
                 [weakSelf sendLifecycleState];
               }];
    }
  }
  return self;
}

- (void)observe:(NSNotificationName)name with:(dispatch_block_t)work {
  [_observers addObject:[NSNotificationCenter.defaultCenter addObserverForName:name
                                                                        object:nil
                                                                         queue:nil
                                                                    usingBlock:^(NSNotification*) {
                                                                      work();
                                                                    }]];
}

// The engine tells the user interface what it thinks of the whole application, on the channel on
// which the host does so for its window.
- (void)sendLifecycleState {
  if (!_isRunning) return;
  const std::string state =
      [NSApp isActive] ? "AppLifecycleState.resumed" : "AppLifecycleState.inactive";
  _sent.push_back({"flutter/lifecycle", quorvin::Bytes(state.begin(), state.end())});
}

- (void)dealloc {
  standin::requireMainThread("-[FlutterEngine dealloc]");
  for (id<NSObject> observer in _observers) {
    [NSNotificationCenter.defaultCenter removeObserver:observer];
  }
}

- (BOOL)runWithEntrypoint:(NSString*)entrypoint {
  standin::requireMainThread("-[FlutterEngine runWithEntrypoint:]");
  if (_isRunning || _isShutDown) return NO;
  standin::record("-[FlutterEngine runWithEntrypoint:]");
  _isRunning = YES;
  return YES;
}

- (void)shutDownEngine {
  standin::requireMainThread("-[FlutterEngine shutDownEngine]");
  standin::record("-[FlutterEngine shutDownEngine]");
  _isRunning = NO;
  _isShutDown = YES;
}

- (BOOL)isRunning {
  return _isRunning;
}

- (id<FlutterBinaryMessenger>)binaryMessenger {
  standin::requireMainThread("-[FlutterEngine binaryMessenger]");
  return _relay;
}

- (id<FlutterPluginRegistrar>)registrarForPlugin:(NSString*)pluginKey {
  standin::requireMainThread("-[FlutterEngine registrarForPlugin:]");
  standin::record("-[FlutterEngine registrarForPlugin:]", {pluginKey.UTF8String});
  id<FlutterPluginRegistrar> registrar = [_registrars objectForKey:pluginKey];
  if (registrar == nil) {
    registrar = [[FlutterPluginRegistrarStandIn alloc] initWithKey:pluginKey];
    [_registrars setObject:registrar forKey:pluginKey];
  }
  return registrar;
}

- (void)sendOnChannel:(NSString*)channel message:(NSData*)message {
  standin::requireMainThread("-[FlutterEngine sendOnChannel:message:]");
  if (!_isRunning) {
    return standin::record("Failed to send message to Flutter engine", {channel.UTF8String});
  }
  _sent.push_back({channel.UTF8String, standin::toWireMessage(message)});
}

- (FlutterBinaryMessengerConnection)setMessageHandlerOnChannel:(NSString*)channel
                                          binaryMessageHandler:
                                              (FlutterBinaryMessageHandler)handler {
  standin::requireMainThread("-[FlutterEngine setMessageHandlerOnChannel:binaryMessageHandler:]");
  if (handler == nil) {
    standin::violation("A handler that was never set was removed: a message would call nil.");
  }
  _lastConnection += 1;
  // Out of the map before it goes: what it holds may come back here.
  const Handler replaced =
      std::exchange(_handlers[channel.UTF8String], Handler{_lastConnection, [handler copy]});
  return _lastConnection;
}

- (void)cleanUpConnection:(FlutterBinaryMessengerConnection)connection {
  standin::requireMainThread("-[FlutterEngine cleanUpConnection:]");
  for (auto entry = _handlers.begin(); entry != _handlers.end(); ++entry) {
    if (entry->second.connection != connection) continue;
    const auto removed = _handlers.extract(entry);
    return;
  }
}

- (void)standInDeliver:(const standin::WireMessage&)message
             onChannel:(const std::string&)channel
                answer:(std::function<void(standin::WireMessage)>)answer {
  if (!_isRunning) standin::violation("The user interface does not run yet, or not any more.");
  const auto pending = std::make_shared<PendingAnswer>(PendingAnswer{std::move(answer), channel});
  __weak FlutterEngine* weakSelf = self;
  FlutterBinaryReply reply = ^(NSData* data) {
    FlutterEngine* engine = weakSelf;
    answerOnce(*pending, engine != nil && !engine->_isShutDown, data);
  };
  const auto found = _handlers.find(channel);
  if (found == _handlers.end()) return reply(nil);
  const FlutterBinaryMessageHandler handler = found->second.block;
  @autoreleasepool {
    handler(standin::toNSData(message), reply);
  }
}

- (BOOL)standInHasHandlerOnChannel:(const std::string&)channel {
  return _handlers.contains(channel);
}

- (std::vector<standin::SentMessage>)standInTakeSentOnChannel:(const std::string&)channel {
  std::vector<standin::SentMessage> taken;
  std::erase_if(_sent, [&](const standin::SentMessage& sent) {
    if (sent.channel == channel) taken.push_back(sent);
    return sent.channel == channel;
  });
  return taken;
}

@end
