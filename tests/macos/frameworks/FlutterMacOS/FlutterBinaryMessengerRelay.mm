#import <FlutterMacOS/FlutterBinaryMessengerRelay.h>

#include "tests/macos/standin/CallLog.h"

@implementation FlutterBinaryMessengerRelay {
  __weak NSObject<FlutterBinaryMessenger>* _parent;
}

- (instancetype)initWithParent:(NSObject<FlutterBinaryMessenger>*)parent {
  self = [super init];
  if (self != nil) _parent = parent;
  return self;
}

- (NSObject<FlutterBinaryMessenger>*)parentFor:(const char*)operation {
  NSObject<FlutterBinaryMessenger>* parent = _parent;
  if (parent == nil) {
    standin::requireMainThread(operation);
    standin::record("Communicating on a dead channel", {operation});
  }
  return parent;
}

- (void)sendOnChannel:(NSString*)channel message:(NSData*)message {
  [[self parentFor:"sendOnChannel:"] sendOnChannel:channel message:message];
}

- (FlutterBinaryMessengerConnection)setMessageHandlerOnChannel:(NSString*)channel
                                          binaryMessageHandler:
                                              (FlutterBinaryMessageHandler)handler {
  NSObject<FlutterBinaryMessenger>* parent = [self parentFor:"setMessageHandlerOnChannel:"];
  if (parent == nil) return -1;
  return [parent setMessageHandlerOnChannel:channel binaryMessageHandler:handler];
}

- (void)cleanUpConnection:(FlutterBinaryMessengerConnection)connection {
  [[self parentFor:"cleanUpConnection:"] cleanUpConnection:connection];
}

@end
