#import <Foundation/Foundation.h>

#include <functional>
#include <memory>
#include <thread>
#include <vector>

#include "tests/macos/standin/StandInTest.h"

namespace {

class Block : public standin::StandInTest {
 protected:
  // An object whose death is seen through a weak reference.
  NSObject* object = [NSObject new];
  __weak NSObject* weak = object;
};

// A block literal itself lives until the end of the scope that it is written in, so these tests
// write them in a scope of their own.
TEST_F(Block, KeepsWhatItCapturesUntilItDies) {
  NSUInteger (^hash)(void) = nil;
  {
    NSObject* captured = object;
    hash = ^{
      return captured.hash;
    };
  }
  object = nil;
  EXPECT_NE(weak, nil);
  EXPECT_NE(hash(), 0U);
  hash = nil;
  EXPECT_EQ(weak, nil);
}

TEST_F(Block, CopiesTheValueOfAVariableWhenItIsMade) {
  int number = 1;
  int (^block)(void) = ^{
    return number;
  };
  number = 2;
  EXPECT_EQ(block(), 1);
}

TEST_F(Block, SharesABlockVariableWithItsScopeAndOtherBlocks) {
  __block int number = 1;
  void (^add)(int) = ^(int more) {
    number += more;
  };
  int (^read)(void) = ^{
    return number;
  };
  add(4);
  number += 10;
  EXPECT_EQ(read(), 15);
}

TEST_F(Block, BlockVariableOutlivesItsScope) {
  int (^count)(void) = nil;
  {
    __block int number = 0;
    count = ^{
      return ++number;
    };
  }
  EXPECT_EQ(count(), 1);
  EXPECT_EQ(count(), 2);
}

TEST_F(Block, BlockVariableKeepsAnObject) {
  {
    __block NSObject* kept = object;
    void (^forget)(void) = ^{
      kept = nil;
    };
    object = nil;
    EXPECT_NE(weak, nil);
    forget();
    EXPECT_EQ(weak, nil);
  }
}

TEST_F(Block, DestroysCapturedCxxObjectsOnce) {
  auto shared = std::make_shared<int>(5);
  int (^block)(void) = nil;
  {
    block = ^{
      return *shared;
    };
  }
  EXPECT_EQ(shared.use_count(), 2);
  EXPECT_EQ(block(), 5);
  block = nil;
  EXPECT_EQ(shared.use_count(), 1);
}

TEST_F(Block, CapturesAnotherBlock) {
  int (^outer)(void) = nil;
  {
    NSObject* captured = object;
    int (^inner)(void) = ^{
      return captured != nil ? 3 : 0;
    };
    outer = ^{
      return inner() + 1;
    };
  }
  object = nil;
  EXPECT_NE(weak, nil);
  EXPECT_EQ(outer(), 4);
  outer = nil;
  EXPECT_EQ(weak, nil);
}

TEST_F(Block, IsAnObjectInACollection) {
  NSObject* captured = object;
  NSArray* blocks = @[ ^{
    return captured.hash;
  } ];
  NSUInteger (^first)(void) = blocks.firstObject;
  EXPECT_EQ(first(), object.hash);
}

TEST_F(Block, HeldByAFunctionObjectDiesWithIt) {
  std::function<void()> function;
  {
    NSObject* captured = object;
    function = ^{
      EXPECT_NE(captured, nil);
    };
  }
  object = nil;
  function();
  EXPECT_NE(weak, nil);
  function = nullptr;
  EXPECT_EQ(weak, nil);
}

TEST_F(Block, WeakSelfBreaksACycle) {
  @autoreleasepool {
    NSMutableArray* owner = [NSMutableArray array];
    __weak NSMutableArray* weakOwner = owner;
    [owner addObject:^{
      EXPECT_EQ(weakOwner.count, 2U);
    }];
    [owner addObject:object];
    void (^block)(void) = owner.firstObject;
    block();
  }
  object = nil;
  EXPECT_EQ(weak, nil);
}

TEST_F(Block, LeftOverIsCountedAsAlive) {
  const auto before = standin::liveObjects();
  int number = 1;
  int (^block)(void) = ^{
    return number;
  };
  EXPECT_EQ(standin::liveObjects(), before + 1);
  EXPECT_EQ(block(), 1);
  block = nil;
  EXPECT_EQ(standin::liveObjects(), before);
}

TEST_F(Block, IsCopiedAndReleasedOnSeveralThreads) {
  {
    NSObject* captured = object;
    NSUInteger (^block)(void) = ^{
      return captured.hash;
    };
    std::vector<std::thread> threads;
    for (int index = 0; index < 3; ++index) {
      threads.emplace_back([block] {
        for (int round = 0; round < 1000; ++round) {
          NSUInteger (^copied)(void) = [block copy];
          EXPECT_NE(copied(), 0U);
        }
      });
    }
    for (auto& thread : threads) thread.join();
  }
  object = nil;
  EXPECT_EQ(weak, nil);
}

}  // namespace
