#pragma once

#import <FlutterMacOS/FlutterBinaryMessenger.h>
#import <FlutterMacOS/FlutterCodecs.h>

NS_ASSUME_NONNULL_BEGIN

@interface FlutterBasicMessageChannel : NSObject
- (instancetype)initWithName:(NSString*)name
             binaryMessenger:(NSObject<FlutterBinaryMessenger>*)messenger
                       codec:(NSObject<FlutterMessageCodec>*)codec;
- (void)sendMessage:(id _Nullable)message;
@end

typedef void (^FlutterResult)(id _Nullable result);
typedef void (^FlutterMethodCallHandler)(FlutterMethodCall* call, FlutterResult result);

extern NSObject const* FlutterMethodNotImplemented;

@interface FlutterMethodChannel : NSObject
+ (instancetype)methodChannelWithName:(NSString*)name
                      binaryMessenger:(NSObject<FlutterBinaryMessenger>*)messenger;
- (void)setMethodCallHandler:(FlutterMethodCallHandler _Nullable)handler;
@end

typedef void (^FlutterEventSink)(id _Nullable event);

@protocol FlutterStreamHandler
- (FlutterError* _Nullable)onListenWithArguments:(id _Nullable)arguments
                                       eventSink:(FlutterEventSink)events;
- (FlutterError* _Nullable)onCancelWithArguments:(id _Nullable)arguments;
@end

@interface FlutterEventChannel : NSObject
+ (instancetype)eventChannelWithName:(NSString*)name
                     binaryMessenger:(NSObject<FlutterBinaryMessenger>*)messenger;
- (void)setStreamHandler:(NSObject<FlutterStreamHandler>* _Nullable)handler;
@end

NS_ASSUME_NONNULL_END
