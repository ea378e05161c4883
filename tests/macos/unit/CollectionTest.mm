#import <Foundation/Foundation.h>

#include <gmock/gmock.h>

#include "tests/macos/standin/StandInTest.h"

namespace {

using Collection = standin::StandInTest;

TEST_F(Collection, DictionariesAreEqualWhateverTheirOrder) {
  NSDictionary* first = @{@"a" : @1, @"b" : @[ @2 ]};
  NSMutableDictionary* second = [NSMutableDictionary dictionary];
  second[@"b"] = @[ @2 ];
  second[@"a"] = @1;
  EXPECT_TRUE([first isEqual:second]);
  second[@"a"] = @3;
  EXPECT_FALSE([first isEqual:second]);
}

TEST_F(Collection, DictionaryCopiesItsKeys) {
  NSMutableString* key = [NSMutableString stringWithString:@"a"];
  NSMutableDictionary* dictionary = [NSMutableDictionary dictionary];
  [dictionary setObject:@1 forKey:key];
  [key appendString:@"b"];
  EXPECT_EQ([dictionary[@"a"] intValue], 1);
}

TEST_F(Collection, MutableDictionaryReplacesAndRemoves) {
  NSMutableDictionary* dictionary = [@{@"a" : @1} mutableCopy];
  dictionary[@"a"] = @2;
  dictionary[@"b"] = @3;
  EXPECT_TRUE([dictionary isEqual:(@{@"a" : @2, @"b" : @3})]);
  dictionary[@"a"] = nil;
  [dictionary removeObjectForKey:@"none"];
  EXPECT_TRUE([dictionary.allKeys isEqual:@[ @"b" ]]);
  NSDictionary* copy = [dictionary copy];
  [dictionary removeAllObjects];
  EXPECT_EQ(copy.count, 1U);
}

TEST_F(Collection, DictionaryEnumerationStopsWhenAsked) {
  __block int visits = 0;
  [@{
    @"a" : @1,
    @"b" : @2
  } enumerateKeysAndObjectsUsingBlock:^(id, id, BOOL* stop) {
    ++visits;
    *stop = YES;
  }];
  EXPECT_EQ(visits, 1);
}

TEST_F(Collection, ArrayReleasesWhatItHeld) {
  __weak NSObject* weak = nil;
  NSMutableArray* array = [NSMutableArray array];
  {
    NSObject* object = [NSObject new];
    weak = object;
    [array addObject:object];
  }
  EXPECT_NE(weak, nil);
  [array removeAllObjects];
  EXPECT_EQ(weak, nil);
}

TEST_F(Collection, ArrayFindsInsertsAndReplaces) {
  NSMutableArray* array = [NSMutableArray arrayWithObjects:@"a", @"c", nil];
  [array insertObject:@"b" atIndex:1];
  array[2] = @"d";
  EXPECT_TRUE([array isEqual:(@[ @"a", @"b", @"d" ])]);
  EXPECT_EQ([array indexOfObject:@"d"], 2U);
  EXPECT_FALSE([array containsObject:@"c"]);
  [array removeObject:@"a"];
  EXPECT_STREQ([array.firstObject UTF8String], "b");
  EXPECT_THROW((void)array[2], NSException*);
}

TEST_F(Collection, CoreFoundationReadsAndMakesTheSameObjects) {
  const void* keys[] = {CFSTR("key")};
  const void* values[] = {kCFBooleanTrue};
  CFDictionaryRef made =
      CFDictionaryCreate(kCFAllocatorDefault, keys, values, 1, &kCFTypeDictionaryKeyCallBacks,
                         &kCFTypeDictionaryValueCallBacks);
  EXPECT_EQ(CFDictionaryGetValue(made, CFSTR("key")), kCFBooleanTrue);
  NSDictionary* dictionary = CFBridgingRelease(made);
  EXPECT_TRUE([dictionary isEqual:@{@"key" : @YES}]);
  EXPECT_EQ(CFArrayGetCount((__bridge CFArrayRef) @[ @1, @2 ]), 2);
  EXPECT_EQ(CFGetTypeID((__bridge CFTypeRef) @[]), CFArrayGetTypeID());
  EXPECT_EQ(CFGetTypeID(CFSTR("text")), CFStringGetTypeID());
  EXPECT_EQ(CFGetTypeID((__bridge CFTypeRef)[NSMutableString string]), CFStringGetTypeID());
}

TEST_F(Collection, CoreFoundationNumbersGiveTheirValueInOtherTypes) {
  const int value = 5;
  CFNumberRef number = CFNumberCreate(kCFAllocatorDefault, kCFNumberIntType, &value);
  double converted = 0;
  EXPECT_TRUE(CFNumberGetValue(number, kCFNumberDoubleType, &converted));
  EXPECT_EQ(converted, 5.0);
  EXPECT_FALSE(CFNumberIsFloatType(number));
  EXPECT_TRUE(CFNumberIsFloatType((__bridge CFNumberRef) @1.5));
  CFRelease(number);
}

TEST_F(Collection, CoreFoundationReferenceOfNothingIsAViolation) {
  CFRelease(static_cast<CFTypeRef _Nonnull>((__bridge CFTypeRef) static_cast<id>(nil)));
  EXPECT_THAT(standin::takeViolations(), testing::ElementsAre("CFRelease was called with NULL"));
}

}  // namespace
