#import "platform/macos/FlutterValue.h"

#import <FlutterMacOS/FlutterMacOS.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "platform/flutter/StandardCodec.h"
#import "platform/macos/Bridging.h"

namespace quorvin {
namespace {

// Keeps the owner of the bytes for as long as the object lives.
NSData* toNSData(const Data& data) {
  if (data.empty()) return [NSData data];
  const Data kept = data;
  return [[NSData alloc] initWithBytesNoCopy:const_cast<std::uint8_t*>(kept.data())
                                      length:kept.size()
                                 deallocator:^(void* /*bytes*/, NSUInteger /*length*/) {
                                   static_cast<void>(kept);
                                 }];
}

template <typename Element>
NSData* toNSData(const std::vector<Element>& elements) {
  return [NSData dataWithBytes:elements.data() length:elements.size() * sizeof(Element)];
}

id toElement(const Value& value) {
  id object = toObject(value);
  return object == nil ? NSNull.null : object;
}

NSArray* toNSArray(const List& list) {
  NSMutableArray* array = [NSMutableArray arrayWithCapacity:list.size()];
  for (const auto& value : list) [array addObject:toElement(value)];
  return array;
}

id<NSCopying> toKey(const Value& key) {
  if (const auto* bytes = key.as<Data>()) return toNSData(*bytes);
  const auto asNumbers = [](const auto& numbers) {
    return toNSArray(List(numbers.begin(), numbers.end()));
  };
  if (const auto* numbers = key.as<std::vector<std::int32_t>>()) return asNumbers(*numbers);
  if (const auto* numbers = key.as<std::vector<std::int64_t>>()) return asNumbers(*numbers);
  if (const auto* numbers = key.as<std::vector<float>>()) return asNumbers(*numbers);
  if (const auto* numbers = key.as<std::vector<double>>()) return asNumbers(*numbers);
  return toElement(key);
}

NSDictionary* toNSDictionary(const Map& map) {
  NSMutableDictionary* dictionary = [NSMutableDictionary dictionaryWithCapacity:map.size()];
  for (const auto& [key, value] : map.entries()) {
    [dictionary setObject:toElement(value) forKey:toKey(key)];
  }
  return dictionary;
}

struct ObjectMaker : PlainObjectMaker {
  using PlainObjectMaker::operator();
  id operator()(std::monostate /*null*/) const { return nil; }
  id operator()(const Data& value) const {
    return [FlutterStandardTypedData typedDataWithBytes:toNSData(value)];
  }
  id operator()(const std::vector<std::int32_t>& value) const {
    return [FlutterStandardTypedData typedDataWithInt32:toNSData(value)];
  }
  id operator()(const std::vector<std::int64_t>& value) const {
    return [FlutterStandardTypedData typedDataWithInt64:toNSData(value)];
  }
  id operator()(const std::vector<float>& value) const {
    return [FlutterStandardTypedData typedDataWithFloat32:toNSData(value)];
  }
  id operator()(const std::vector<double>& value) const {
    return [FlutterStandardTypedData typedDataWithFloat64:toNSData(value)];
  }
  id operator()(const List& value) const { return toNSArray(value); }
  id operator()(const Map& value) const { return toNSDictionary(value); }
};

Value numberValue(NSNumber* number) {
  CFTypeRef shared = (__bridge CFTypeRef)number;
  if (CFGetTypeID(shared) == CFBooleanGetTypeID()) return static_cast<bool>(number.boolValue);
  if (CFNumberIsFloatType((__bridge CFNumberRef)number)) return number.doubleValue;
  return number.longLongValue;
}

// Copies, since the bytes of a message need not be aligned as numbers are.
template <typename Element>
Value elementsOf(NSData* data) {
  std::vector<Element> elements(data.length / sizeof(Element));
  if (!elements.empty()) {
    [data getBytes:elements.data() length:elements.size() * sizeof(Element)];
  }
  return elements;
}

Value typedDataValue(FlutterStandardTypedData* typed) {
  switch (typed.type) {
    case FlutterStandardDataTypeInt32:
      return elementsOf<std::int32_t>(typed.data);
    case FlutterStandardDataTypeInt64:
      return elementsOf<std::int64_t>(typed.data);
    case FlutterStandardDataTypeFloat32:
      return elementsOf<float>(typed.data);
    case FlutterStandardDataTypeFloat64:
      return elementsOf<double>(typed.data);
    case FlutterStandardDataTypeUInt8:
      break;
  }
  return toData(typed.data);
}

Value valueAt(int depth, id object);

Value listValue(int depth, NSArray* array) {
  List list;
  list.reserve(array.count);
  for (id element in array) list.push_back(valueAt(depth, element));
  return list;
}

Value mapValue(int depth, NSDictionary* dictionary) {
  Map map;
  for (id key in dictionary) {
    map.append(valueAt(depth, key), valueAt(depth, [dictionary objectForKey:key]));
  }
  return map;
}

bool isKind(id object, Class type) { return [object isKindOfClass:type]; }

Value valueAt(int depth, id object) {
  if (isKind(object, [NSNumber class])) return numberValue(object);
  if (isKind(object, [NSString class])) return toString(object);
  if (isKind(object, [FlutterStandardTypedData class])) return typedDataValue(object);
  if (isKind(object, [NSData class])) return toData(object);
  if (depth == messageNestingMax) return {};
  if (isKind(object, [NSArray class])) return listValue(depth + 1, object);
  if (isKind(object, [NSDictionary class])) return mapValue(depth + 1, object);
  return {};
}

}  // namespace

id toObject(const Value& value) { return std::visit(ObjectMaker(), value.variant()); }

Value toValue(id object) { return valueAt(0, object); }

}  // namespace quorvin
