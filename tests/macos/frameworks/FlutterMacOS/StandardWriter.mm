#import <FlutterMacOS/FlutterMacOS.h>
#import <FlutterMacOS/StandardMessage.h>

#include <string>

#include "tests/macos/standin/CallLog.h"

namespace standin {
namespace {

bool isKind(id object, Class type) { return [object isKindOfClass:type]; }

std::uint8_t tagOf(FlutterStandardDataType type) {
  switch (type) {
    case FlutterStandardDataTypeUInt8:
      return 8;
    case FlutterStandardDataTypeInt32:
      return 9;
    case FlutterStandardDataTypeInt64:
      return 10;
    case FlutterStandardDataTypeFloat64:
      return 11;
    case FlutterStandardDataTypeFloat32:
      return 14;
  }
  return 0;
}

}  // namespace

void StandardWriter::append(const void* bytes, std::size_t length) {
  if (length > 0) [data appendBytes:bytes length:length];
}

template <typename Number>
void StandardWriter::append(Number number) {
  append(&number, sizeof number);
}

void StandardWriter::align(std::size_t alignment) {
  while (data.length % alignment != 0) writeByte(0);
}

void StandardWriter::writeByte(std::uint8_t byte) { append(byte); }

void StandardWriter::writeSize(std::size_t size) {
  if (size < 254) return append(static_cast<std::uint8_t>(size));
  if (size <= 0xFFFF) {
    writeByte(254);
    return append(static_cast<std::uint16_t>(size));
  }
  writeByte(255);
  append(static_cast<std::uint32_t>(size));
}

void StandardWriter::writeValue(id value) {
  if (value == nil || value == NSNull.null) return writeByte(0);
  if (isKind(value, [NSNumber class])) return writeNumber(value);
  if (isKind(value, [NSString class])) return writeText(value);
  if (isKind(value, [FlutterStandardTypedData class])) return writeTypedData(value);
  if (isKind(value, [NSData class])) {
    return writeTypedData([FlutterStandardTypedData typedDataWithBytes:value]);
  }
  if (isKind(value, [NSArray class])) return writeArray(value);
  if (isKind(value, [NSDictionary class])) return writeDictionary(value);
  violation(std::string("Unsupported value for standard codec: ") +
            NSStringFromClass([value class]).UTF8String);
}

void StandardWriter::writeNumber(NSNumber* number) {
  if (CFGetTypeID((__bridge CFTypeRef)number) == CFBooleanGetTypeID()) {
    return writeByte(number.boolValue ? 1 : 2);
  }
  if (CFNumberIsFloatType((__bridge CFNumberRef)number)) {
    writeByte(6);
    align(8);
    return append(number.doubleValue);
  }
  writeByte(4);
  append(static_cast<std::int64_t>(number.longLongValue));
}

void StandardWriter::writeText(NSString* text) {
  NSData* utf8 = [text dataUsingEncoding:NSUTF8StringEncoding];
  if (utf8 == nil) return violation("A text for the standard codec has no UTF-8 form.");
  writeByte(7);
  writeSize(utf8.length);
  append(utf8.bytes, utf8.length);
}

void StandardWriter::writeTypedData(id typed) {
  FlutterStandardTypedData* elements = typed;
  writeByte(tagOf(elements.type));
  writeSize(elements.elementCount);
  align(elements.elementSize);
  append(elements.data.bytes, elements.data.length);
}

void StandardWriter::writeArray(NSArray* array) {
  writeByte(12);
  writeSize(array.count);
  for (id element in array) writeValue(element);
}

void StandardWriter::writeDictionary(NSDictionary* dictionary) {
  writeByte(13);
  writeSize(dictionary.count);
  for (id key in dictionary) {
    writeValue(key);
    writeValue([dictionary objectForKey:key]);
  }
}

}  // namespace standin
