#import <Foundation/Foundation.h>

#include <cmath>

#include "tests/macos/standin/StandInTest.h"

namespace {

using NSNumberTest = standin::StandInTest;

bool isBoolean(NSNumber* number) {
  return CFGetTypeID((__bridge CFTypeRef)number) == CFBooleanGetTypeID();
}

TEST_F(NSNumberTest, BooleansAreTheTwoObjectsOfCoreFoundation) {
  EXPECT_EQ(@YES, (__bridge NSNumber*)kCFBooleanTrue);
  EXPECT_EQ([[NSNumber alloc] initWithBool:NO], (__bridge NSNumber*)kCFBooleanFalse);
  EXPECT_TRUE(isBoolean(@YES));
  EXPECT_FALSE(isBoolean(@1));
  EXPECT_FALSE(isBoolean([NSNumber numberWithChar:1]));
  EXPECT_EQ(CFGetTypeID((__bridge CFTypeRef) @1), CFNumberGetTypeID());
  EXPECT_TRUE([@YES isEqual:@1]);
  EXPECT_STREQ(@YES.stringValue.UTF8String, "1");
}

TEST_F(NSNumberTest, TypesAreKeptWidenedToSignedOnes) {
  EXPECT_STREQ(@YES.objCType, "c");
  EXPECT_STREQ([NSNumber numberWithUnsignedChar:1].objCType, "s");
  EXPECT_STREQ(@(1).objCType, "i");
  EXPECT_STREQ(@(1U).objCType, "q");
  EXPECT_STREQ(@(1LL).objCType, "q");
  EXPECT_STREQ(@(UINT64_MAX).objCType, "Q");
  EXPECT_STREQ(@(1.5F).objCType, "f");
  EXPECT_STREQ(@(1.5).objCType, "d");
}

TEST_F(NSNumberTest, IntegersKeepTheirWholeRange) {
  EXPECT_EQ(@(INT64_MIN).longLongValue, INT64_MIN);
  EXPECT_EQ(@(UINT64_MAX).unsignedLongLongValue, UINT64_MAX);
  EXPECT_EQ([@(INT64_MAX) compare:@(INT64_MAX - 1)], NSOrderedDescending);
  EXPECT_FALSE([@(INT64_MAX) isEqual:@(INT64_MAX - 1)]);
  EXPECT_EQ(@(0x100000001).intValue, 1);
}

TEST_F(NSNumberTest, DoublesAreCutTowardsZeroAndLimited) {
  EXPECT_EQ(@(-2.9).integerValue, -2);
  EXPECT_EQ(@(1e300).longLongValue, INT64_MAX);
  EXPECT_EQ(@(std::nan("")).integerValue, 0);
  EXPECT_TRUE(@(0.5).boolValue);
}

TEST_F(NSNumberTest, TextIsShort) {
  EXPECT_STREQ(@(1.0).stringValue.UTF8String, "1");
  EXPECT_STREQ(@(59.94).stringValue.UTF8String, "59.94");
  EXPECT_STREQ(@(0.1F).stringValue.UTF8String, "0.1");
  EXPECT_STREQ(@(UINT64_MAX).stringValue.UTF8String, "18446744073709551615");
}

TEST_F(NSNumberTest, EqualNumbersOfDifferentTypesAreOneKey) {
  NSDictionary* dictionary = @{@1 : @"one"};
  EXPECT_STREQ([dictionary[@1.0] UTF8String], "one");
  EXPECT_EQ(@(1).hash, @(1.0).hash);
}

TEST_F(NSNumberTest, ValueHoldsASize) {
  NSValue* value = [NSValue valueWithSize:NSMakeSize(2, 3)];
  EXPECT_EQ(value.sizeValue.height, 3);
  EXPECT_TRUE([value isEqual:[NSValue valueWithSize:NSMakeSize(2, 3)]]);
  EXPECT_FALSE([value isEqual:[NSValue valueWithSize:NSMakeSize(2, 4)]]);
}

TEST_F(NSNumberTest, NullIsOneObject) {
  EXPECT_EQ([NSNull null], (__bridge NSNull*)kCFNull);
  EXPECT_EQ([[NSNull null] copy], [NSNull null]);
}

}  // namespace
