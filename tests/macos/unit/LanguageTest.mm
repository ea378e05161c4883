#import <Foundation/Foundation.h>

#include <thread>
#include <vector>

#include "tests/macos/standin/StandInTest.h"

// Properties, literals, enumeration, associations and locks.

@interface PropertyHolder : NSObject
@property(atomic, strong) NSString* atomicText;
@property(nonatomic, copy) NSString* copiedText;
@property(atomic, copy) NSString* atomicCopiedText;
@property(atomic) CGRect atomicFrame;
@property(nonatomic, copy) int (^handler)(int);
@end

@implementation PropertyHolder
@end

namespace {

using Language = standin::StandInTest;

TEST_F(Language, CopyPropertyIsNotChangedWithItsSource) {
  PropertyHolder* holder = [PropertyHolder new];
  NSMutableString* text = [NSMutableString stringWithString:@"one"];
  holder.copiedText = text;
  holder.atomicCopiedText = text;
  holder.atomicText = text;
  [text appendString:@" two"];
  EXPECT_STREQ(holder.copiedText.UTF8String, "one");
  EXPECT_STREQ(holder.atomicCopiedText.UTF8String, "one");
  EXPECT_STREQ(holder.atomicText.UTF8String, "one two");
  holder.copiedText = nil;
  EXPECT_EQ(holder.copiedText, nil);
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
          holder.atomicText = [NSString stringWithFormat:@"%d", index];
          holder.atomicFrame = CGRect{{1.0 * index, 1.0 * index}, {0, 0}};
          EXPECT_EQ(holder.atomicText.length, 1U);
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
  NSMutableArray* array = [@[ @1 ] mutableCopy];
  array[0] = @5;
  array[1] = @6;
  EXPECT_EQ([array[1] intValue], 6);
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
  NSMutableArray* numbers = [NSMutableArray arrayWithArray:@[ @1, @2 ]];
  const auto change = [numbers] {
    for (id number in numbers) [numbers addObject:number];
  };
  EXPECT_DEATH(change(), "mutated while being enumerated");
}

TEST_F(Language, AssociatedObjectLivesAsLongAsItsOwner) {
  static char key = 0;
  __weak NSObject* weak = nil;
  {
    NSObject* owner = [NSObject new];
    @autoreleasepool {
      NSObject* value = [NSObject new];
      weak = value;
      objc_setAssociatedObject(owner, &key, value, OBJC_ASSOCIATION_RETAIN_NONATOMIC);
      EXPECT_EQ(objc_getAssociatedObject(owner, &key), value);
      EXPECT_EQ(objc_getAssociatedObject(value, &key), nil);
    }
    EXPECT_NE(weak, nil);
  }
  EXPECT_EQ(weak, nil);
}

TEST_F(Language, AssociatedObjectIsReplacedAndRemoved) {
  static char key = 0;
  NSObject* owner = [NSObject new];
  NSObject* value = [NSObject new];
  __weak NSObject* weak = value;
  objc_setAssociatedObject(owner, &key, value, OBJC_ASSOCIATION_RETAIN);
  value = nil;
  objc_setAssociatedObject(owner, &key, @"other", OBJC_ASSOCIATION_COPY);
  EXPECT_EQ(weak, nil);
  objc_setAssociatedObject(owner, &key, nil, OBJC_ASSOCIATION_RETAIN);
  EXPECT_EQ(objc_getAssociatedObject(owner, &key), nil);
}

TEST_F(Language, SynchronizedExcludesOtherThreadsAndNests) {
  NSObject* lock = [NSObject new];
  int count = 0;
  std::vector<std::thread> threads;
  for (int index = 0; index < 3; ++index) {
    threads.emplace_back([lock, &count] {
      for (int round = 0; round < 1000; ++round) {
        @synchronized(lock) {
          @synchronized(lock) {
            ++count;
          }
        }
      }
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(count, 3000);
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
