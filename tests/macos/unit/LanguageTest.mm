#import <Foundation/Foundation.h>

#include <thread>
#include <vector>

#include "tests/macos/standin/StandInTest.h"

// Properties, literals and enumeration.

@interface PropertyHolder : NSObject
@property(atomic, strong) NSData* atomicData;
@property(nonatomic, copy) NSData* copiedData;
@property(atomic, copy) NSData* atomicCopiedData;
@property(atomic) CGRect atomicFrame;
@property(nonatomic, copy) int (^handler)(int);
@end

@implementation PropertyHolder
@end

namespace {

using Language = standin::StandInTest;

TEST_F(Language, CopyPropertyIsNotChangedWithItsSource) {
  PropertyHolder* holder = [PropertyHolder new];
  NSMutableData* data = [NSMutableData dataWithLength:1];
  holder.copiedData = data;
  holder.atomicCopiedData = data;
  holder.atomicData = data;
  [data appendBytes:"x" length:1];
  EXPECT_EQ(holder.copiedData.length, 1U);
  EXPECT_EQ(holder.atomicCopiedData.length, 1U);
  EXPECT_EQ(holder.atomicData.length, 2U);
  holder.copiedData = nil;
  EXPECT_EQ(holder.copiedData, nil);
}

TEST_F(Language, BlockPropertyIsCopiedOffTheStack) {
  PropertyHolder* holder = [PropertyHolder new];
  const int base = 4;
  holder.handler = ^(int more) {
    return base + more;
  };
  EXPECT_EQ(holder.handler(3), 7);
}

TEST_F(Language, AtomicPropertiesMayBeUsedOnSeveralThreads) {
  PropertyHolder* holder = [PropertyHolder new];
  std::vector<std::thread> threads;
  for (int index = 0; index < 3; ++index) {
    threads.emplace_back([holder, index] {
      for (int round = 0; round < 500; ++round) {
        @autoreleasepool {
          holder.atomicData = [NSData dataWithBytes:"x" length:1];
          holder.atomicFrame = CGRect{{1.0 * index, 1.0 * index}, {0, 0}};
          EXPECT_EQ(holder.atomicData.length, 1U);
          const auto frame = holder.atomicFrame;
          EXPECT_EQ(frame.origin.x, frame.origin.y);
        }
      }
    });
  }
  for (auto& thread : threads) thread.join();
}

TEST_F(Language, LiteralsMakeCollectionsThatSubscriptsRead) {
  NSDictionary* dictionary = @{@"a" : @1, @"b" : @[ @2, @3 ]};
  EXPECT_EQ([dictionary[@"a"] intValue], 1);
  EXPECT_EQ([dictionary[@"b"][1] intValue], 3);
  EXPECT_EQ(dictionary[@"c"], nil);
  EXPECT_EQ(@[].count, 0U);
  EXPECT_EQ(@{}.count, 0U);
}

TEST_F(Language, LiteralWithNilRaises) {
  id nothing = nil;
  EXPECT_THROW((void)@[ nothing ], NSException*);
  EXPECT_THROW((void)@{@"key" : nothing}, NSException*);
}

TEST_F(Language, ForInVisitsEveryElementOnce) {
  NSMutableArray* numbers = [NSMutableArray array];
  for (int number = 1; number <= 100; ++number) [numbers addObject:@(number)];
  int sum = 0;
  for (NSNumber* number in numbers) sum += number.intValue;
  EXPECT_EQ(sum, 5050);
  NSUInteger length = 0;
  for (NSString* key in @{@"a" : @1, @"bc" : @2}) length += key.length;
  EXPECT_EQ(length, 3U);
}

TEST_F(Language, ForInOverAChangingCollectionDies) {
  NSMutableArray* numbers = [NSMutableArray array];
  for (id number in @[ @1, @2 ]) [numbers addObject:number];
  const auto change = [numbers] {
    for (id number in numbers) [numbers addObject:number];
  };
  EXPECT_DEATH(change(), "mutated while being enumerated");
}

TEST_F(Language, SelectorIsPerformedByName) {
  NSMutableArray* array = [NSMutableArray array];
  [array performSelector:@selector(addObject:) withObject:@"one"];
  EXPECT_EQ(array.count, 1U);
}

TEST_F(Language, AvailabilityTakesTheNewerBranch) {
  if (@available(macOS 14.0, *)) {
    SUCCEED();
  } else {
    ADD_FAILURE();
  }
}

}  // namespace
