#import <FlutterMacOS/FlutterMacOS.h>
#import <FlutterMacOS/StandardMessage.h>

#include <gmock/gmock.h>

#include <cstdint>
#include <vector>

#include "tests/macos/standin/StandInTest.h"

namespace {

using standin::StandardReader;
using standin::StandardWriter;
using standin::takeViolations;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::HasSubstr;
using Bytes = std::vector<std::uint8_t>;

class StandardMessageTest : public standin::StandInTest {};

Bytes toBytes(NSData* data) {
  const auto* bytes = static_cast<const std::uint8_t*>(data.bytes);
  return {bytes, bytes + data.length};
}

Bytes written(id value) {
  StandardWriter writer;
  writer.writeValue(value);
  return toBytes(writer.message());
}

NSData* message(const Bytes& bytes) {
  return [NSData dataWithBytes:bytes.data() length:bytes.size()];
}

id valueOf(const Bytes& bytes) {
  StandardReader reader(message(bytes));
  id value = reader.readValue();
  EXPECT_TRUE(reader.isAtEnd());
  return value;
}

TEST_F(StandardMessageTest, WritesIntegersByTheWidthOfTheirStorage) {
  EXPECT_THAT(written([NSNumber numberWithUnsignedChar:0xFE]), ElementsAre(3, 0xFE, 0, 0, 0));
  EXPECT_THAT(written([NSNumber numberWithInt:0x12345678]), ElementsAre(3, 0x78, 0x56, 0x34, 0x12));
  EXPECT_THAT(written([NSNumber numberWithShort:-1]), ElementsAre(3, 0xFF, 0xFF, 0xFF, 0xFF));
  EXPECT_THAT(written([NSNumber numberWithUnsignedInt:0xFEDCBA09]),
              ElementsAre(4, 0x09, 0xBA, 0xDC, 0xFE, 0, 0, 0, 0));
  EXPECT_THAT(written([NSNumber numberWithInteger:1]), ElementsAre(4, 1, 0, 0, 0, 0, 0, 0, 0));
  EXPECT_THAT(written([NSNumber numberWithUnsignedLongLong:UINT64_MAX]),
              ElementsAre(4, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF));
}

TEST_F(StandardMessageTest, WritesWhatIsNoInteger) {
  EXPECT_THAT(written(nil), ElementsAre(0));
  EXPECT_THAT(written(NSNull.null), ElementsAre(0));
  EXPECT_THAT(written(@YES), ElementsAre(1));
  EXPECT_THAT(written(@NO), ElementsAre(2));
  EXPECT_THAT(written([NSNumber numberWithFloat:1]),
              ElementsAre(6, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xF0, 0x3F));
  EXPECT_THAT(written(@"h\u263Aw"), ElementsAre(7, 5, 0x68, 0xE2, 0x98, 0xBA, 0x77));
  EXPECT_THAT(written(message({4, 5})), ElementsAre(8, 2, 4, 5));
  EXPECT_THAT(written(@[ @YES, NSNull.null ]), ElementsAre(12, 2, 1, 0));
  EXPECT_THAT(written(@{@"a" : @NO}), ElementsAre(13, 1, 7, 1, 'a', 2));
}

TEST_F(StandardMessageTest, AlignsRowsOfNumbers) {
  NSData* bytes = message({1, 0, 0, 0, 0, 0, 0, 0});
  EXPECT_THAT(written([FlutterStandardTypedData typedDataWithBytes:bytes]),
              ElementsAre(8, 8, 1, 0, 0, 0, 0, 0, 0, 0));
  EXPECT_THAT(written([FlutterStandardTypedData typedDataWithInt32:bytes]),
              ElementsAre(9, 2, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0));
  EXPECT_THAT(written([FlutterStandardTypedData typedDataWithInt64:bytes]),
              ElementsAre(10, 1, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0));
  EXPECT_THAT(written([FlutterStandardTypedData typedDataWithFloat64:bytes]),
              ElementsAre(11, 1, 0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0));
  EXPECT_THAT(written([FlutterStandardTypedData typedDataWithFloat32:bytes]),
              ElementsAre(14, 2, 0, 0, 1, 0, 0, 0, 0, 0, 0, 0));
}

TEST_F(StandardMessageTest, WritesSizesInOneTwoOrFourBytes) {
  const auto sizeOf = [](std::size_t length) {
    auto bytes = written(message(Bytes(length)));
    bytes.resize(6);
    return bytes;
  };
  EXPECT_THAT(sizeOf(253), ElementsAre(8, 253, 0, 0, 0, 0));
  EXPECT_THAT(sizeOf(254), ElementsAre(8, 254, 254, 0, 0, 0));
  EXPECT_THAT(sizeOf(65535), ElementsAre(8, 254, 0xFF, 0xFF, 0, 0));
  EXPECT_THAT(sizeOf(65536), ElementsAre(8, 255, 0, 0, 1, 0));
}

TEST_F(StandardMessageTest, ReadsBackWhatItWrites) {
  for (id value in
       @[ @YES, @5, @0.5, @"text", @[ @1, @[ NSNull.null ] ],
          @{@"key" : @{@1 : @"one"}} ]) {
    EXPECT_TRUE([valueOf(written(value)) isEqual:value]);
  }
  EXPECT_EQ(valueOf({0}), nil);
  EXPECT_TRUE([valueOf({5, 2, 'f', 'f'}) isEqual:@"ff"]);
}

TEST_F(StandardMessageTest, ReadsRowsOfNumbersAsTypedData) {
  NSData* bytes = message({1, 0, 0, 0, 0, 0, 0, 0});
  for (FlutterStandardTypedData* row in @[
         [FlutterStandardTypedData typedDataWithBytes:bytes],
         [FlutterStandardTypedData typedDataWithInt32:bytes],
         [FlutterStandardTypedData typedDataWithInt64:bytes],
         [FlutterStandardTypedData typedDataWithFloat32:bytes],
         [FlutterStandardTypedData typedDataWithFloat64:bytes]
       ]) {
    FlutterStandardTypedData* read = valueOf(written(row));
    EXPECT_EQ(read.type, row.type);
    EXPECT_EQ(read.elementCount * read.elementSize, 8U);
    EXPECT_TRUE([read.data isEqualToData:bytes]);
  }
}

TEST_F(StandardMessageTest, KeepsTheWidthOfAnIntegerItRead) {
  EXPECT_THAT(written(valueOf({3, 1, 0, 0, 0})), ElementsAre(3, 1, 0, 0, 0));
  EXPECT_THAT(written(valueOf({4, 1, 0, 0, 0, 0, 0, 0, 0})),
              ElementsAre(4, 1, 0, 0, 0, 0, 0, 0, 0));
}

TEST_F(StandardMessageTest, NoticesAMessageThatIsCutOffOrUnknown) {
  for (const Bytes& bytes : {Bytes{}, Bytes{3, 1}, Bytes{7, 5, 'a'}, Bytes{8, 200}, Bytes{12, 2, 0},
                             Bytes{13, 1, 0}, Bytes{8, 254, 1}, Bytes{11, 1, 0}, Bytes{99}}) {
    StandardReader reader(message(bytes));
    static_cast<void>(reader.readValue());
    EXPECT_FALSE(reader.isAtEnd());
  }
}

TEST_F(StandardMessageTest, RefusesWhatTheFormatCannotSay) {
  EXPECT_THAT(written([[NSObject alloc] init]), ElementsAre());
  EXPECT_THAT(takeViolations(), ElementsAre(HasSubstr("NSObject")));
  const unichar lone = 0xD800;
  written([NSString stringWithCharacters:&lone length:1]);
  EXPECT_THAT(takeViolations(), ElementsAre(HasSubstr("UTF-8")));
}

}  // namespace
