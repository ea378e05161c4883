#pragma once

#import <FlutterMacOS/FlutterBinaryMessenger.h>

// What an engine hands out as its messenger: outlives it, and then does nothing.
@interface FlutterBinaryMessengerRelay : NSObject <FlutterBinaryMessenger>
- (nonnull instancetype)initWithParent:(nonnull NSObject<FlutterBinaryMessenger>*)parent;
@end
