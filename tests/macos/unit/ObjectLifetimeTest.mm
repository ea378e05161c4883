#import <Foundation/Foundation.h>

#include <gmock/gmock.h>

#include "tests/macos/standin/StandInTest.h"

// When objects die, under ARC.

@interface LifetimeProbe : NSObject {
  int* deaths;
}
- (instancetype)initWithDeaths:(int*)deathCount;
@property(nonatomic, strong) id child;
@property(nonatomic, weak) id parent;
@end

@implementation LifetimeProbe

- (instancetype)initWithDeaths:(int*)deathCount {
  self = [super init];
  deaths = deathCount;
  return self;
}

- (void)dealloc {
  ++*deaths;
}

@end

namespace {

class ObjectLifetime : public standin::StandInTest {
 protected:
  LifetimeProbe* probe() { return [[LifetimeProbe alloc] initWithDeaths:&deaths]; }

  int deaths = 0;
};

TEST_F(ObjectLifetime, ObjectDiesWithItsLastReference) {
  LifetimeProbe* first = probe();
  LifetimeProbe* second = first;
  first = nil;
  EXPECT_NE(second, nil);
  EXPECT_EQ(deaths, 0);
  second = nil;
  EXPECT_EQ(deaths, 1);
}

TEST_F(ObjectLifetime, ResultOfAFunctionDiesWithItsLastReferenceAndNotWithThePool) {
  @autoreleasepool {
    LifetimeProbe* holder = probe();
    EXPECT_NE(holder, nil);
    holder = nil;
    EXPECT_EQ(deaths, 1);
  }
}

TEST_F(ObjectLifetime, StrongPropertyKeepsAnObjectUntilTheOwnerDies) {
  LifetimeProbe* owner = probe();
  owner.child = probe();
  EXPECT_EQ(deaths, 0);
  owner = nil;
  EXPECT_EQ(deaths, 2);
}

TEST_F(ObjectLifetime, StoringANewValueReleasesTheOldOne) {
  LifetimeProbe* owner = probe();
  owner.child = probe();
  owner.child = nil;
  EXPECT_EQ(deaths, 1);
}

TEST_F(ObjectLifetime, AutoreleasedObjectDiesWithThePool) {
  @autoreleasepool {
    @autoreleasepool {
      id __autoreleasing object = probe();
      EXPECT_NE(object, nil);
    }
    EXPECT_EQ(deaths, 1);
  }
}

TEST_F(ObjectLifetime, ObjectThatIsLeftAliveIsCounted) {
  const auto before = standin::liveObjects();
  LifetimeProbe* object = probe();
  EXPECT_NE(object, nil);
  EXPECT_EQ(standin::liveObjects(), before + 1);
  EXPECT_THAT(standin::liveObjectSummary(), testing::Contains("LifetimeProbe x 1"));
  object = nil;
  EXPECT_EQ(standin::liveObjects(), before);
}

TEST_F(ObjectLifetime, CoreFoundationReferenceThatIsLeftOverIsCounted) {
  const auto before = standin::liveObjects();
  CFTypeRef reference = nullptr;
  {
    LifetimeProbe* object = probe();
    reference = CFRetain((__bridge CFTypeRef)object);
  }
  EXPECT_EQ(standin::liveObjects(), before + 1);
  CFRelease(reference);
  EXPECT_EQ(standin::liveObjects(), before);
  EXPECT_EQ(deaths, 1);
}

TEST_F(ObjectLifetime, ImmortalObjectIsNotCounted) {
  const auto before = standin::liveObjects();
  static LifetimeProbe* const shared = probe();
  standin::makeImmortal((__bridge const void*)shared);
  EXPECT_EQ(standin::liveObjects(), before);
}

}  // namespace
