#import "tests/macos/frameworks/Foundation/Support.h"

#include <cstring>

#include "tests/macos/frameworks/Foundation/NumberSupport.h"
#include "tests/macos/standin/CallLog.h"

// Booleans, numbers, texts and data.

namespace {

NSNumber* numberFrom(CFNumberType type, const void* value) {
  const auto read = [value]<typename T>(T zero) {
    std::memcpy(&zero, value, sizeof zero);
    return zero;
  };
  switch (type) {
    case kCFNumberSInt8Type:
    case kCFNumberCharType:
      return [[NSNumber alloc] initWithChar:read(char{})];
    case kCFNumberSInt16Type:
    case kCFNumberShortType:
      return [[NSNumber alloc] initWithShort:read(short{})];
    case kCFNumberSInt32Type:
    case kCFNumberIntType:
      return [[NSNumber alloc] initWithInt:read(int{})];
    case kCFNumberSInt64Type:
    case kCFNumberLongType:
    case kCFNumberLongLongType:
    case kCFNumberCFIndexType:
    case kCFNumberNSIntegerType:
      return [[NSNumber alloc] initWithLongLong:read(0LL)];
    case kCFNumberFloat32Type:
    case kCFNumberFloatType:
      return [[NSNumber alloc] initWithFloat:read(float{})];
    case kCFNumberFloat64Type:
    case kCFNumberDoubleType:
    case kCFNumberCGFloatType:
      return [[NSNumber alloc] initWithDouble:read(double{})];
  }
  standin::violation("CFNumberCreate: an unknown type " + std::to_string(type));
  return nil;
}

// Whether the value came through unchanged, as CFNumberGetValue answers.
template <typename T>
Boolean write(T converted, NSNumber* number, void* value) {
  std::memcpy(value, &converted, sizeof converted);
  return [[NSNumber numberWithDouble:static_cast<double>(converted)] isEqualToNumber:number];
}

}  // namespace

Boolean CFBooleanGetValue(CFBooleanRef boolean) { return boolean == kCFBooleanTrue; }

CFNumberRef CFNumberCreate(CFAllocatorRef /*allocator*/, CFNumberType type, const void* value) {
  return (CFNumberRef)numberFrom(type, value);
}

CFNumberType CFNumberGetType(CFNumberRef number) {
  switch (standin::numberIn((NSNumber*)number).type) {
    case 'c':
      return standin::isBoolean((NSNumber*)number) ? kCFNumberCharType : kCFNumberSInt8Type;
    case 's':
      return kCFNumberSInt16Type;
    case 'i':
      return kCFNumberSInt32Type;
    case 'f':
      return kCFNumberFloat32Type;
    case 'd':
      return kCFNumberFloat64Type;
    default:
      return kCFNumberSInt64Type;
  }
}

Boolean CFNumberIsFloatType(CFNumberRef number) {
  const auto type = standin::numberIn((NSNumber*)number).type;
  return type == 'f' || type == 'd';
}

Boolean CFNumberGetValue(CFNumberRef reference, CFNumberType type, void* value) {
  NSNumber* number = (NSNumber*)reference;
  switch (type) {
    case kCFNumberSInt32Type:
    case kCFNumberIntType:
      return write(number.intValue, number, value);
    case kCFNumberSInt64Type:
    case kCFNumberLongType:
    case kCFNumberLongLongType:
    case kCFNumberCFIndexType:
    case kCFNumberNSIntegerType:
      return write(number.longLongValue, number, value);
    case kCFNumberFloat32Type:
    case kCFNumberFloatType:
      return write(number.floatValue, number, value);
    case kCFNumberFloat64Type:
    case kCFNumberDoubleType:
    case kCFNumberCGFloatType:
      return write(number.doubleValue, number, value);
    default:
      standin::violation("CFNumberGetValue: type " + std::to_string(type) + " is not known here");
      return false;
  }
}

CFStringRef CFStringCreateWithCString(CFAllocatorRef /*allocator*/, const char* text,
                                      CFStringEncoding encoding) {
  if (encoding != kCFStringEncodingUTF8) standin::violation("Core Foundation texts are UTF-8 here");
  return (CFStringRef)[[NSString alloc] initWithUTF8String:text];
}

CFIndex CFStringGetLength(CFStringRef text) {
  return static_cast<CFIndex>([(NSString*)text length]);
}

Boolean CFStringGetCString(CFStringRef text, char* buffer, CFIndex bufferSize,
                           CFStringEncoding encoding) {
  if (encoding != kCFStringEncodingUTF8) standin::violation("Core Foundation texts are UTF-8 here");
  const auto utf8 = standin::utf8Of((NSString*)text);
  if (utf8.size() >= static_cast<std::size_t>(bufferSize)) return false;
  std::memcpy(buffer, utf8.c_str(), utf8.size() + 1);
  return true;
}

CFDataRef CFDataCreate(CFAllocatorRef /*allocator*/, const UInt8* bytes, CFIndex length) {
  return (CFDataRef)[[NSData alloc] initWithBytes:bytes length:static_cast<NSUInteger>(length)];
}

CFMutableDataRef CFDataCreateMutable(CFAllocatorRef /*allocator*/, CFIndex /*capacity*/) {
  return (CFMutableDataRef)[[NSMutableData alloc] init];
}

CFIndex CFDataGetLength(CFDataRef data) { return static_cast<CFIndex>([(NSData*)data length]); }

const UInt8* CFDataGetBytePtr(CFDataRef data) {
  return static_cast<const UInt8*>([(NSData*)data bytes]);
}
