#import "platform/macos/FlutterValue.h"

#import <FlutterMacOS/FlutterMacOS.h>
#import <FlutterMacOS/StandardMessage.h>

#include <gmock/gmock.h>

#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "platform/flutter/StandardCodec.h"
#import "platform/macos/Bridging.h"
#include "tests/macos/standin/StandInTest.h"

namespace quorvin {
namespace {

using namespace std::string_literals;

class FlutterValueTest : public standin::StandInTest {};

bool isBoolean(id object) {
  return CFGetTypeID((__bridge CFTypeRef)object) == CFBooleanGetTypeID();
}

FlutterStandardTypedData* typedData(const Value& value) {
  id object = toObject(value);
  EXPECT_TRUE([object isKindOfClass:[FlutterStandardTypedData class]]);
  return object;
}

// Through the bytes of the channel, in both directions.
Value fromWire(const Value& value) {
  const auto bytes = encodeMessage(value);
  NSData* message = [NSData dataWithBytes:bytes.data() length:bytes.size()];
  return toValue(standin::StandardReader(message).readValue());
}

Value toWire(const Value& value) {
  standin::StandardWriter writer;
  writer.writeValue(toObject(value));
  const auto* bytes = static_cast<const std::uint8_t*>(writer.message().bytes);
  return decodeMessage({bytes, writer.message().length});
}

TEST_F(FlutterValueTest, SaysNullAsNilAndWithinCollectionsAsNSNull) {
  EXPECT_EQ(toObject(Value()), nil);
  NSArray* list = toObject(List{Value()});
  EXPECT_EQ(list[0], NSNull.null);
  NSDictionary* map = toObject(Map{{Value(), Value()}});
  EXPECT_EQ(map[NSNull.null], NSNull.null);
  EXPECT_TRUE(toValue(nil).isNull());
  EXPECT_TRUE(toValue(NSNull.null).isNull());
}

TEST_F(FlutterValueTest, KeepsBooleansApartFromNumbers) {
  EXPECT_EQ(toValue(@YES), Value(true));
  EXPECT_EQ(toValue(@NO), Value(false));
  EXPECT_EQ(toValue(@1), Value(1));
  EXPECT_EQ(toValue([NSNumber numberWithChar:1]), Value(1));
  EXPECT_TRUE(isBoolean(toObject(true)));
  EXPECT_TRUE(isBoolean(toObject(false)));
  EXPECT_FALSE(isBoolean(toObject(1)));
  EXPECT_EQ(toObject(false), (__bridge id)kCFBooleanFalse);
}

TEST_F(FlutterValueTest, ReadsIntegersOfEveryWidth) {
  EXPECT_EQ(toValue([NSNumber numberWithChar:-128]), Value(-128));
  EXPECT_EQ(toValue([NSNumber numberWithUnsignedChar:255]), Value(255));
  EXPECT_EQ(toValue([NSNumber numberWithShort:-32768]), Value(-32768));
  EXPECT_EQ(toValue([NSNumber numberWithUnsignedShort:65535]), Value(65535));
  EXPECT_EQ(toValue([NSNumber numberWithInt:-2147483647]), Value(-2147483647));
  EXPECT_EQ(toValue([NSNumber numberWithUnsignedInt:4294967295]), Value(4294967295));
  EXPECT_EQ(toValue([NSNumber numberWithInteger:NSIntegerMin]),
            Value(std::numeric_limits<std::int64_t>::min()));
  EXPECT_EQ(toValue([NSNumber numberWithUnsignedLongLong:INT64_MAX]),
            Value(std::numeric_limits<std::int64_t>::max()));
}

TEST_F(FlutterValueTest, KeepsTheLowBitsOfAnIntegerThatIsTooLarge) {
  EXPECT_EQ(toValue([NSNumber numberWithUnsignedLongLong:UINT64_MAX]), Value(-1));
  EXPECT_EQ(toValue([NSNumber numberWithUnsignedLongLong:0x8000'0000'0000'0000]),
            Value(std::numeric_limits<std::int64_t>::min()));
}

TEST_F(FlutterValueTest, WritesIntegersSixtyFourBitsWide) {
  NSNumber* small = toObject(7);
  EXPECT_EQ(CFNumberGetType((__bridge CFNumberRef)small), kCFNumberSInt64Type);
  EXPECT_EQ([toObject(std::numeric_limits<std::int64_t>::min()) longLongValue], INT64_MIN);
}

TEST_F(FlutterValueTest, KeepsDoublesApartFromIntegers) {
  EXPECT_EQ(toValue(@1.0), Value(1.0));
  EXPECT_EQ(toValue([NSNumber numberWithFloat:0.5F]), Value(0.5));
  NSNumber* whole = toObject(2.0);
  EXPECT_TRUE(CFNumberIsFloatType((__bridge CFNumberRef)whole));
  EXPECT_EQ(whole.doubleValue, 2.0);
}

TEST_F(FlutterValueTest, KeepsEveryCharacterOfAText) {
  const auto text = "a\0b \xE2\x98\xBA \xF0\x9F\x98\x80"s;
  EXPECT_EQ(toValue(toObject(text)), Value(text));
  EXPECT_EQ([toObject(text) length], 8U);
  EXPECT_EQ(toValue(@""), Value(""));
}

TEST_F(FlutterValueTest, HandsBytesOverWithoutCopyingThem) {
  std::weak_ptr<const void> owner;
  @autoreleasepool {
    auto storage = std::make_shared<const Bytes>(Bytes{1, 2, 3});
    const auto* address = storage->data();
    owner = storage;
    FlutterStandardTypedData* typed = typedData(Data(storage, *storage));
    storage.reset();
    EXPECT_EQ(typed.type, FlutterStandardDataTypeUInt8);
    EXPECT_EQ(typed.data.bytes, address);
    EXPECT_EQ(typed.data.length, 3U);
    EXPECT_FALSE(owner.expired());
  }
  EXPECT_TRUE(owner.expired());
}

TEST_F(FlutterValueTest, TakesBytesOverWithoutCopyingThem) {
  Value value;
  const void* address = nullptr;
  __weak NSData* storage = nil;
  @autoreleasepool {
    NSData* bytes = [NSData dataWithBytes:"abc" length:3];
    address = bytes.bytes;
    storage = bytes;
    value = toValue([FlutterStandardTypedData typedDataWithBytes:bytes]);
  }
  ASSERT_NE(value.as<Data>(), nullptr);
  EXPECT_EQ(value.as<Data>()->data(), address);
  EXPECT_EQ(value, Value(Data(Bytes{'a', 'b', 'c'})));
  EXPECT_NE(storage, nil);
  value = Value();
  EXPECT_EQ(storage, nil);
}

TEST_F(FlutterValueTest, ReadsPlainBytesLikeTypedOnes) {
  EXPECT_EQ(toValue([NSData dataWithBytes:"ab" length:2]), Value(Data(Bytes{'a', 'b'})));
}

TEST_F(FlutterValueTest, TakesEmptyBytesBothWays) {
  EXPECT_EQ(typedData(Data()).data.length, 0U);
  EXPECT_EQ(toValue([FlutterStandardTypedData typedDataWithBytes:[NSData data]]), Value(Data()));
  EXPECT_EQ(toValue([FlutterStandardTypedData typedDataWithInt64:[NSData data]]),
            Value(std::vector<std::int64_t>{}));
  EXPECT_EQ(typedData(std::vector<double>{}).elementCount, 0U);
}

TEST_F(FlutterValueTest, TakesRowsOfNumbersBothWays) {
  const Value rows[] = {std::vector<std::int32_t>{1, -2}, std::vector<std::int64_t>{3, INT64_MIN},
                        std::vector<float>{0.5F, -1}, std::vector<double>{0.25, 1e300}};
  const FlutterStandardDataType types[] = {
      FlutterStandardDataTypeInt32, FlutterStandardDataTypeInt64, FlutterStandardDataTypeFloat32,
      FlutterStandardDataTypeFloat64};
  for (std::size_t index = 0; index < std::size(rows); ++index) {
    FlutterStandardTypedData* typed = typedData(rows[index]);
    EXPECT_EQ(typed.type, types[index]);
    EXPECT_EQ(typed.elementCount, 2U);
    EXPECT_EQ(toValue(typed), rows[index]);
  }
}

TEST_F(FlutterValueTest, ReadsNumbersThatAreNotAligned) {
  const std::vector<std::int64_t> numbers{1, -1};
  NSMutableData* shifted = [NSMutableData dataWithLength:1];
  [shifted appendBytes:numbers.data() length:16];
  NSData* part = [shifted subdataWithRange:NSMakeRange(1, 16)];
  EXPECT_EQ(toValue([FlutterStandardTypedData typedDataWithInt64:part]), Value(numbers));
}

TEST_F(FlutterValueTest, TakesListsAndMapsBothWays) {
  const Value value = List{Map{{"key", List{1, "two", 3.0, Value(), true}}}, List{}, Map{}};
  EXPECT_EQ(toValue(toObject(value)), value);
  EXPECT_EQ(toValue(@[ @{@"a" : @1} ]), Value(List{Map{{"a", 1}}}));
}

TEST_F(FlutterValueTest, LetsTheLastOfRepeatedKeysCount) {
  NSDictionary* map = toObject(Map{{"a", 1}, {"a", 2}});
  EXPECT_EQ(map.count, 1U);
  EXPECT_EQ([map[@"a"] intValue], 2);
}

TEST_F(FlutterValueTest, TakesKeysOfAnyType) {
  for (const auto& key : {Value(), Value(true), Value(5), Value(0.5), Value("text"),
                          Value(List{1, "a"}), Value(Map{{"a", 1}}), Value(Data(Bytes{1, 2}))}) {
    const Value map = Map{{key, "value"}};
    EXPECT_EQ(toValue(toObject(map)), map);
  }
}

TEST_F(FlutterValueTest, TurnsRowsOfNumbersIntoListsWhereTheyAreKeys) {
  const auto keyOf = [](const Value& key) {
    return toValue(toObject(Map{{key, 0}})).as<Map>()->entries()[0].key;
  };
  EXPECT_EQ(keyOf(std::vector<std::int32_t>{1, 2}), Value(List{1, 2}));
  EXPECT_EQ(keyOf(std::vector<std::int64_t>{1, 2}), Value(List{1, 2}));
  EXPECT_EQ(keyOf(std::vector<float>{0.5F}), Value(List{0.5}));
  EXPECT_EQ(keyOf(std::vector<double>{0.5}), Value(List{0.5}));
}

TEST_F(FlutterValueTest, ReadsNullForAnObjectThatTheCodecDoesNotKnow) {
  EXPECT_TRUE(toValue([[NSObject alloc] init]).isNull());
  EXPECT_EQ(toValue(@[ [[NSObject alloc] init] ]), Value(List{Value()}));
}

// Lists in each other, with a number in the innermost.
id nestedLists(int depth) {
  id object = @7;
  for (int level = 0; level < depth; ++level) object = @[ object ];
  return object;
}

Value innermost(Value value) {
  while (const auto* list = value.as<List>()) value = Value((*list)[0]);
  return value;
}

TEST_F(FlutterValueTest, ReadsNothingThatLiesTooDeep) {
  EXPECT_EQ(innermost(toValue(nestedLists(messageNestingMax))), Value(7));
  EXPECT_EQ(innermost(toValue(nestedLists(messageNestingMax + 1))), Value());
  id map = @{@"a" : nestedLists(messageNestingMax)};
  EXPECT_EQ(innermost(*toValue(map).as<Map>()->find("a")), Value());
}

TEST_F(FlutterValueTest, SurvivesTheBytesOfTheChannelInBothDirections) {
  const Value values[] = {Value(),
                          true,
                          -1,
                          std::numeric_limits<std::int64_t>::max(),
                          0.1,
                          "text",
                          Data(Bytes(70'000, 5)),
                          std::vector<std::int32_t>{1, 2, 3},
                          std::vector<std::int64_t>{1},
                          std::vector<float>{1.5F},
                          std::vector<double>{2.5, 3.5},
                          List{1, List{Value()}, Map{{1, 2}}}};
  for (const auto& value : values) {
    EXPECT_EQ(fromWire(value), value);
    EXPECT_EQ(toWire(value), value);
  }
}

}  // namespace
}  // namespace quorvin
