#import <Foundation/Foundation.h>

#include <atomic>
#include <thread>
#include <vector>

#include "tests/macos/standin/StandInTest.h"

@interface WeakHolder : NSObject
@property(nonatomic, weak) id target;
@end

@implementation WeakHolder
@end

// Looks at a weak reference to itself while it dies.
@interface DyingObserver : NSObject {
  bool* sawNil;
  __weak DyingObserver* itself;
}
- (instancetype)initWithResult:(bool*)result;
@end

@implementation DyingObserver

- (instancetype)initWithResult:(bool*)result {
  self = [super init];
  sawNil = result;
  itself = self;
  return self;
}

- (void)dealloc {
  *sawNil = itself == nil;
}

@end

namespace {

using WeakReference = standin::StandInTest;

TEST_F(WeakReference, BecomesNilWhenTheObjectDies) {
  NSObject* object = [NSObject new];
  __weak NSObject* weak = object;
  EXPECT_EQ(weak, object);
  object = nil;
  EXPECT_EQ(weak, nil);
}

TEST_F(WeakReference, OfADeadHolderIsForgotten) {
  NSObject* object = [NSObject new];
  {
    WeakHolder* holder = [WeakHolder new];
    holder.target = object;
    EXPECT_EQ(holder.target, object);
  }
  object = nil;
}

TEST_F(WeakReference, FollowsCopiesAndMoves) {
  NSObject* object = [NSObject new];
  std::vector<__weak NSObject*> references;
  for (int count = 0; count < 10; ++count) references.push_back(object);
  EXPECT_EQ(references.front(), object);
  object = nil;
  for (__weak NSObject* reference : references) EXPECT_EQ(reference, nil);
}

TEST_F(WeakReference, PointsToAnotherObjectWhenStoredAgain) {
  NSObject* first = [NSObject new];
  NSObject* second = [NSObject new];
  __weak NSObject* weak = first;
  weak = second;
  first = nil;
  EXPECT_EQ(weak, second);
}

TEST_F(WeakReference, IsNilAlreadyWhileTheObjectDies) {
  bool sawNil = false;
  {
    DyingObserver* observer = [[DyingObserver alloc] initWithResult:&sawNil];
    EXPECT_NE(observer, nil);
  }
  EXPECT_TRUE(sawNil);
}

TEST_F(WeakReference, LoadedOnOtherThreadsGivesALivingObjectOrNil) {
  constexpr int threadCount = 3;
  std::atomic<int> ready = 0;
  std::atomic<bool> wrong = false;
  NSArray* object = @[ @1, @2, @3 ];
  __weak NSArray* weak = object;
  std::vector<std::thread> threads;
  for (int index = 0; index < threadCount; ++index) {
    threads.emplace_back([&ready, &wrong, &weak] {
      ++ready;
      @autoreleasepool {
        while (NSArray* loaded = weak) {
          if (loaded.count != 3) wrong = true;
        }
      }
    });
  }
  while (ready < threadCount) std::this_thread::yield();
  object = nil;
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(weak, nil);
  EXPECT_FALSE(wrong);
}

}  // namespace
