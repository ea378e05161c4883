#import <FlutterMacOS/FlutterMacOS.h>
#import <FlutterMacOS/StandardMessage.h>

#include <cstring>

#include "tests/macos/standin/CallLog.h"
#include "tests/macos/standin/Objects.h"

namespace {

template <typename Codec>
Codec* shared() {
  static Codec* codec = [] {
    Codec* made = [[Codec alloc] init];
    standin::makeImmortal((__bridge const void*)made);
    return made;
  }();
  return codec;
}

}  // namespace

@implementation FlutterStringCodec

+ (instancetype)sharedInstance {
  return shared<FlutterStringCodec>();
}

- (NSData*)encode:(id)message {
  if (message == nil) return nil;
  if (![message isKindOfClass:[NSString class]]) {
    standin::violation("The string codec was given something else.");
    return nil;
  }
  const char* utf8 = [message UTF8String];
  return [NSData dataWithBytes:utf8 length:std::strlen(utf8)];
}

@end

@implementation FlutterMethodCall

+ (instancetype)methodCallWithMethodName:(NSString*)method arguments:(id)arguments {
  FlutterMethodCall* call = [[FlutterMethodCall alloc] init];
  call->_method = [method copy];
  call->_arguments = arguments;
  return call;
}

@end

@implementation FlutterError

+ (instancetype)errorWithCode:(NSString*)code message:(NSString*)message details:(id)details {
  if (code == nil) standin::violation("A FlutterError was made without a code.");
  FlutterError* error = [[FlutterError alloc] init];
  error->_code = [code copy];
  error->_message = [message copy];
  error->_details = details;
  return error;
}

@end

@implementation FlutterStandardTypedData

+ (instancetype)typedDataWithBytes:(NSData*)data {
  return [[FlutterStandardTypedData alloc] initWithData:data
                                                   type:FlutterStandardDataTypeUInt8
                                            elementSize:1];
}

+ (instancetype)typedDataWithInt32:(NSData*)data {
  return [[FlutterStandardTypedData alloc] initWithData:data
                                                   type:FlutterStandardDataTypeInt32
                                            elementSize:4];
}

+ (instancetype)typedDataWithInt64:(NSData*)data {
  return [[FlutterStandardTypedData alloc] initWithData:data
                                                   type:FlutterStandardDataTypeInt64
                                            elementSize:8];
}

+ (instancetype)typedDataWithFloat32:(NSData*)data {
  return [[FlutterStandardTypedData alloc] initWithData:data
                                                   type:FlutterStandardDataTypeFloat32
                                            elementSize:4];
}

+ (instancetype)typedDataWithFloat64:(NSData*)data {
  return [[FlutterStandardTypedData alloc] initWithData:data
                                                   type:FlutterStandardDataTypeFloat64
                                            elementSize:8];
}

- (instancetype)initWithData:(NSData*)data
                        type:(FlutterStandardDataType)type
                 elementSize:(UInt8)elementSize {
  if (data == nil) standin::violation("Typed data was made without data.");
  if (data.length % elementSize != 0) standin::violation("Typed data ends within an element.");
  self = [super init];
  if (self != nil) {
    _data = [data copy];
    _type = type;
    _elementSize = elementSize;
    _elementCount = static_cast<UInt32>(data.length / elementSize);
  }
  return self;
}

@end

@implementation FlutterStandardMethodCodec

+ (instancetype)sharedInstance {
  return shared<FlutterStandardMethodCodec>();
}

- (FlutterMethodCall*)decodeMethodCall:(NSData*)methodCall {
  standin::StandardReader reader(methodCall);
  id method = reader.readValue();
  id arguments = reader.readValue();
  if (!reader.isAtEnd() || ![method isKindOfClass:[NSString class]]) {
    standin::violation("Corrupted standard method call.");
  }
  return [FlutterMethodCall methodCallWithMethodName:method arguments:arguments];
}

- (NSData*)encodeSuccessEnvelope:(id)result {
  standin::StandardWriter writer;
  writer.writeByte(0);
  writer.writeValue(result);
  return writer.message();
}

- (NSData*)encodeErrorEnvelope:(FlutterError*)error {
  standin::StandardWriter writer;
  writer.writeByte(1);
  writer.writeValue(error.code);
  writer.writeValue(error.message);
  writer.writeValue(error.details);
  return writer.message();
}

@end
