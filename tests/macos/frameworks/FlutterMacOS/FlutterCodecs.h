#pragma once

#import <Foundation/Foundation.h>

NS_ASSUME_NONNULL_BEGIN

@protocol FlutterMessageCodec
+ (instancetype)sharedInstance;
- (NSData* _Nullable)encode:(id _Nullable)message;
@end

// Text as UTF-8, and nothing else.
@interface FlutterStringCodec : NSObject <FlutterMessageCodec>
@end

@interface FlutterMethodCall : NSObject
+ (instancetype)methodCallWithMethodName:(NSString*)method arguments:(id _Nullable)arguments;
@property(readonly, nonatomic) NSString* method;
@property(readonly, nonatomic, nullable) id arguments;
@end

@interface FlutterError : NSObject
+ (instancetype)errorWithCode:(NSString*)code
                      message:(NSString* _Nullable)message
                      details:(id _Nullable)details;
@property(readonly, nonatomic) NSString* code;
@property(readonly, nonatomic, nullable) NSString* message;
@property(readonly, nonatomic, nullable) id details;
@end

typedef NS_ENUM(NSInteger, FlutterStandardDataType) {
  FlutterStandardDataTypeUInt8,
  FlutterStandardDataTypeInt32,
  FlutterStandardDataTypeInt64,
  FlutterStandardDataTypeFloat32,
  FlutterStandardDataTypeFloat64,
};

@interface FlutterStandardTypedData : NSObject
+ (instancetype)typedDataWithBytes:(NSData*)data;
+ (instancetype)typedDataWithInt32:(NSData*)data;
+ (instancetype)typedDataWithInt64:(NSData*)data;
+ (instancetype)typedDataWithFloat32:(NSData*)data;
+ (instancetype)typedDataWithFloat64:(NSData*)data;
@property(readonly, nonatomic) NSData* data;
@property(readonly, nonatomic, assign) FlutterStandardDataType type;
@property(readonly, nonatomic, assign) UInt32 elementCount;
@property(readonly, nonatomic, assign) UInt8 elementSize;
@end

@interface FlutterStandardMethodCodec : NSObject
+ (instancetype)sharedInstance;
- (FlutterMethodCall*)decodeMethodCall:(NSData*)methodCall;
- (NSData*)encodeSuccessEnvelope:(id _Nullable)result;
- (NSData*)encodeErrorEnvelope:(FlutterError*)error;
@end

NS_ASSUME_NONNULL_END
