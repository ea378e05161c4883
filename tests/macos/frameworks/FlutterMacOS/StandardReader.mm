#import <FlutterMacOS/FlutterMacOS.h>
#import <FlutterMacOS/StandardMessage.h>

#include <cstring>

#include "tests/macos/standin/CallLog.h"

namespace standin {

const std::uint8_t* StandardReader::take(std::size_t length) {
  if (isCorrupted || length > data.length - offset) {
    isCorrupted = true;
    return nullptr;
  }
  const auto* bytes = static_cast<const std::uint8_t*>(data.bytes) + offset;
  offset += length;
  return bytes;
}

template <typename Number>
Number StandardReader::number() {
  Number value{};
  if (const auto* bytes = take(sizeof value)) std::memcpy(&value, bytes, sizeof value);
  return value;
}

void StandardReader::align(std::size_t alignment) {
  while (!isCorrupted && offset % alignment != 0) static_cast<void>(take(1));
}

std::uint8_t StandardReader::readByte() { return number<std::uint8_t>(); }

std::size_t StandardReader::readSize() {
  const auto first = readByte();
  if (first == 254) return number<std::uint16_t>();
  if (first == 255) return number<std::uint32_t>();
  return first;
}

NSString* StandardReader::readText() {
  const auto length = readSize();
  const auto* bytes = take(length);
  if (bytes == nullptr) return nil;
  return [[NSString alloc] initWithBytes:bytes length:length encoding:NSUTF8StringEncoding];
}

NSData* StandardReader::readNumbers(std::size_t elementSize) {
  const auto length = readSize() * elementSize;
  align(elementSize);
  const auto start = offset;
  if (take(length) == nullptr) return [NSData data];
  return [data subdataWithRange:NSMakeRange(start, length)];
}

id StandardReader::readElement() {
  id value = readValue();
  return value == nil ? NSNull.null : value;
}

NSArray* StandardReader::readArray() {
  const auto count = readSize();
  NSMutableArray* array = [NSMutableArray array];
  for (std::size_t index = 0; index < count && !isCorrupted; ++index) {
    [array addObject:readElement()];
  }
  return array;
}

NSDictionary* StandardReader::readDictionary() {
  const auto count = readSize();
  NSMutableDictionary* dictionary = [NSMutableDictionary dictionary];
  for (std::size_t index = 0; index < count && !isCorrupted; ++index) {
    id key = readElement();
    [dictionary setObject:readElement() forKey:key];
  }
  return dictionary;
}

id StandardReader::readValue() {
  switch (readByte()) {
    case 0:
      return nil;
    case 1:
      return @YES;
    case 2:
      return @NO;
    case 3:
      return [NSNumber numberWithInt:number<std::int32_t>()];
    case 4:
      return [NSNumber numberWithLong:number<std::int64_t>()];
    case 7:
      return readText();
    case 6:
      align(8);
      return [NSNumber numberWithDouble:number<double>()];
    case 8:
      return [FlutterStandardTypedData typedDataWithBytes:readNumbers(1)];
    case 9:
      return [FlutterStandardTypedData typedDataWithInt32:readNumbers(4)];
    case 10:
      return [FlutterStandardTypedData typedDataWithInt64:readNumbers(8)];
    case 11:
      return [FlutterStandardTypedData typedDataWithFloat64:readNumbers(8)];
    case 12:
      return readArray();
    case 13:
      return readDictionary();
    case 14:
      return [FlutterStandardTypedData typedDataWithFloat32:readNumbers(4)];
    default:
      isCorrupted = true;
      return nil;
  }
}

}  // namespace standin
