#import <Foundation/Foundation.h>

#include <string>

#include "tests/macos/standin/StandInTest.h"

namespace {

using NSStringTest = standin::StandInTest;

NSString* decoded(const std::string& bytes) {
  return [[NSString alloc] initWithBytes:bytes.data()
                                  length:bytes.size()
                                encoding:NSUTF8StringEncoding];
}

std::string encoded(NSString* text, bool lossy) {
  NSData* data = [text dataUsingEncoding:NSUTF8StringEncoding allowLossyConversion:lossy];
  return {static_cast<const char*>(data.bytes), data.length};
}

TEST_F(NSStringTest, CountsUtf16Units) {
  EXPECT_EQ(@"abc".length, 3U);
  EXPECT_EQ(@"é".length, 1U);
  EXPECT_EQ(@"😀".length, 2U);
  EXPECT_EQ([@"😀" characterAtIndex:0], 0xD83D);
  EXPECT_EQ([@"😀" lengthOfBytesUsingEncoding:NSUTF8StringEncoding], 4U);
}

TEST_F(NSStringTest, ConstantAndMadeTextsAreEqual) {
  EXPECT_TRUE([@"ü😀" isEqual:decoded("ü😀")]);
  EXPECT_EQ(@"ü😀".hash, decoded("ü😀").hash);
  EXPECT_FALSE([@"a" isEqual:@"b"]);
  EXPECT_FALSE([@"1" isEqual:@1]);
}

TEST_F(NSStringTest, KeepsNulCharacters) {
  const std::string bytes("a\0b", 3);
  NSString* text = decoded(bytes);
  EXPECT_EQ(text.length, 3U);
  EXPECT_EQ(encoded(text, false), bytes);
  EXPECT_STREQ(text.UTF8String, "a");
}

TEST_F(NSStringTest, IsNotMadeOfIllFormedBytes) {
  EXPECT_EQ(decoded("\xFF"), nil);
  EXPECT_EQ(decoded("\xC3"), nil);
  EXPECT_EQ(decoded("\xED\xA0\x80"), nil);
  EXPECT_EQ([NSString stringWithUTF8String:"a\x80"], nil);
}

TEST_F(NSStringTest, UnpairedSurrogateHasNoUtf8ButALossyOne) {
  const unichar units[] = {'a', 0xD83D, 'b'};
  NSString* text = [NSString stringWithCharacters:units length:3];
  EXPECT_EQ([text dataUsingEncoding:NSUTF8StringEncoding], nil);
  EXPECT_EQ(text.UTF8String, nullptr);
  EXPECT_EQ([text lengthOfBytesUsingEncoding:NSUTF8StringEncoding], 0U);
  EXPECT_EQ(encoded(text, true), "a\uFFFDb");
}

TEST_F(NSStringTest, FormatsObjectsNumbersAndTexts) {
  NSString* text = [NSString stringWithFormat:@"%@ %d %5.2f %s %lu %% %x %@", @"ü", -3, 2.5, "é",
                                              7UL, 255U, static_cast<id>(nil)];
  EXPECT_STREQ(text.UTF8String, "ü -3  2.50 é 7 % ff (null)");
  EXPECT_STREQ(([NSString stringWithFormat:@"%.*s|%-4d|", 2, "abc", 5].UTF8String), "ab|5   |");
  EXPECT_STREQ(([NSString stringWithFormat:@"%@", @[ @1 ]].UTF8String), "(\n    1\n)");
}

TEST_F(NSStringTest, EnumeratesUserPerceivedCharacters) {
  NSString* text = @"e\u0301👨‍👩‍👧🇩🇪x";
  NSMutableArray* characters = [NSMutableArray array];
  [text enumerateSubstringsInRange:NSMakeRange(0, text.length)
                           options:NSStringEnumerationByComposedCharacterSequences
                        usingBlock:^(NSString* character, NSRange, NSRange, BOOL* stop) {
                          [characters addObject:character];
                          *stop = characters.count == 3;
                        }];
  EXPECT_TRUE([characters isEqual:(@[ @"e\u0301", @"👨‍👩‍👧", @"🇩🇪" ])]);
}

TEST_F(NSStringTest, FindsTheCharacterAroundAUnit) {
  EXPECT_TRUE(NSEqualRanges([@"a😀b" rangeOfComposedCharacterSequenceAtIndex:2], NSMakeRange(1, 2)));
  EXPECT_TRUE(NSEqualRanges([@"a😀b" rangeOfComposedCharacterSequencesForRange:NSMakeRange(0, 2)],
                            NSMakeRange(0, 3)));
}

TEST_F(NSStringTest, IndexBeyondTheEndRaises) {
  EXPECT_THROW((void)[@"abc" characterAtIndex:3], NSException*);
  EXPECT_THROW((void)[@"abc" substringToIndex:4], NSException*);
  EXPECT_THROW((void)[@"abc" rangeOfComposedCharacterSequenceAtIndex:3], NSException*);
  EXPECT_STREQ([@"abc" substringToIndex:3].UTF8String, "abc");
}

TEST_F(NSStringTest, ReadsNumbersAndBooleans) {
  EXPECT_EQ(@"12x".intValue, 12);
  EXPECT_EQ(@"99999999999".intValue, INT32_MAX);
  EXPECT_EQ(@"2.5".doubleValue, 2.5);
  for (NSString* yes in @[ @"YES", @"true", @"1", @" +09", @"t" ]) EXPECT_TRUE(yes.boolValue);
  for (NSString* no in @[ @"NO", @"false", @"0", @"", @"x1" ]) EXPECT_FALSE(no.boolValue);
}

TEST_F(NSStringTest, SplitsAndJoinsPaths) {
  EXPECT_STREQ(@"/a/b.txt".lastPathComponent.UTF8String, "b.txt");
  EXPECT_STREQ(@"/a/b.txt".pathExtension.UTF8String, "txt");
  EXPECT_STREQ(@"/a/.hidden".pathExtension.UTF8String, "");
  EXPECT_STREQ(@"/a/b/".stringByDeletingLastPathComponent.UTF8String, "/a");
  EXPECT_STREQ([@"/a/" stringByAppendingPathComponent:@"b/"].UTF8String, "/a/b");
  EXPECT_STREQ(@"/no//such/./folder/../x/".stringByStandardizingPath.UTF8String, "/no/such/x");
}

TEST_F(NSStringTest, MutableTextGrowsAndItsCopyDoesNot) {
  NSMutableString* text = [NSMutableString stringWithString:@"a"];
  NSString* copy = [text copy];
  [text appendFormat:@"-%d", 2];
  EXPECT_STREQ(text.UTF8String, "a-2");
  EXPECT_STREQ(copy.UTF8String, "a");
  EXPECT_FALSE([copy isKindOfClass:[NSMutableString class]]);
}

}  // namespace
