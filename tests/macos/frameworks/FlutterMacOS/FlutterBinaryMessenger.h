#pragma once

#import <Foundation/Foundation.h>

NS_ASSUME_NONNULL_BEGIN

typedef void (^FlutterBinaryReply)(NSData* _Nullable reply);
typedef void (^FlutterBinaryMessageHandler)(NSData* _Nullable message, FlutterBinaryReply reply);
typedef int64_t FlutterBinaryMessengerConnection;

// Main thread.
@protocol FlutterBinaryMessenger <NSObject>
- (void)sendOnChannel:(NSString*)channel message:(NSData* _Nullable)message;
- (FlutterBinaryMessengerConnection)setMessageHandlerOnChannel:(NSString*)channel
                                          binaryMessageHandler:
                                              (FlutterBinaryMessageHandler _Nullable)handler;
- (void)cleanUpConnection:(FlutterBinaryMessengerConnection)connection;
@end

NS_ASSUME_NONNULL_END
