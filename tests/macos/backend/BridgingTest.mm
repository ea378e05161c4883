#import "platform/macos/Bridging.h"

#include <gmock/gmock.h>

#include <array>

#include "tests/macos/backend/SystemTest.h"

namespace quorvin {
namespace {

using BridgingTest = SystemTest;

// The text comes back as it went.
void expectRoundTrip(const std::string& utf8) {
  @autoreleasepool {
    EXPECT_EQ(toString(toNSString(utf8)), utf8);
  }
}

std::string repaired(std::string_view utf8) {
  @autoreleasepool {
    return toString(toNSString(utf8));
  }
}

TEST_F(BridgingTest, CarriesTextBothWays) {
  expectRoundTrip("");
  expectRoundTrip("plain");
  expectRoundTrip("é 한글 \U0001F468\u200D\U0001F469");
  expectRoundTrip(std::string("nul\0inside", 10));
  expectRoundTrip("\uFEFFafter a byte order mark");
  expectRoundTrip("\u007F\u0080\u07FF\u0800\uD7FF\uE000\uFFFF\U00010000\U0010FFFF");
  EXPECT_EQ(toNSString(std::string_view()).length, 0U);
}

TEST_F(BridgingTest, WritesACharacterBeyondTheBasicPlaneAsTwoUnits) {
  @autoreleasepool {
    NSString* text = toNSString("\U0001F468!");
    ASSERT_EQ(text.length, 3U);
    EXPECT_EQ([text characterAtIndex:0], 0xD83D);
    EXPECT_EQ([text characterAtIndex:1], 0xDC68);
    EXPECT_EQ([text characterAtIndex:2], '!');
  }
}

TEST_F(BridgingTest, ReplacesEveryIllFormedByte) {
  const std::string mark = "\uFFFD";
  EXPECT_EQ(repaired("a\xFF"
                     "b"),
            "a" + mark + "b");
  EXPECT_EQ(repaired("\xC3"), mark);
  EXPECT_EQ(repaired("\xE2\x82"), mark + mark);
  EXPECT_EQ(repaired("\xF0\x9F\x98!"), mark + mark + mark + "!");
  EXPECT_EQ(repaired("\x80é"), mark + "é");
}

TEST_F(BridgingTest, TakesNoTextForAnEmptyOne) {
  EXPECT_EQ(toString(nil), "");
  EXPECT_EQ(toString(@""), "");
}

TEST_F(BridgingTest, ReplacesAnUnpairedSurrogate) {
  @autoreleasepool {
    const std::array<unichar, 3> characters{'a', 0xD83D, 'b'};
    NSString* text = [NSString stringWithCharacters:characters.data() length:characters.size()];
    const auto utf8 = toString(text);
    EXPECT_GT(utf8.size(), 2U);
    EXPECT_EQ(utf8.front(), 'a');
    EXPECT_EQ(utf8.back(), 'b');
    EXPECT_EQ(toString(toNSString(utf8)), utf8);
  }
}

TEST_F(BridgingTest, KeepsWhatAnErrorSays) {
  @autoreleasepool {
    NSError* error = [NSError errorWithDomain:@"com.example"
                                         code:-3801
                                     userInfo:@{NSLocalizedDescriptionKey : @"It’s over."}];
    EXPECT_EQ(toError(error), Error("com.example", -3801, "It’s over."));
  }
}

TEST_F(BridgingTest, MakesAnErrorOfOneThatWasLeftOut) { EXPECT_EQ(toError(nil), Error("", 0, "")); }

TEST_F(BridgingTest, SharesTheBytesOfData) {
  Data data;
  @autoreleasepool {
    NSData* bytes = [NSData dataWithBytes:"one" length:3];
    data = toData(bytes);
    EXPECT_EQ(static_cast<const void*>(data.data()), bytes.bytes);
  }
  EXPECT_EQ(data, Data(Bytes{'o', 'n', 'e'}));
}

TEST_F(BridgingTest, CopiesBytesThatMayStillChange) {
  @autoreleasepool {
    NSMutableData* bytes = [[NSMutableData alloc] initWithBytes:"one" length:3];
    const auto data = toData(bytes);
    static_cast<char*>(bytes.mutableBytes)[0] = 'x';
    EXPECT_EQ(data, Data(Bytes{'o', 'n', 'e'}));
  }
}

TEST_F(BridgingTest, TakesNoDataForAnEmptyRun) {
  EXPECT_TRUE(toData(nil).empty());
  EXPECT_TRUE(toData([NSData data]).empty());
}

}  // namespace
}  // namespace quorvin
