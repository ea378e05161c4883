#import <Foundation/Foundation.h>

#include "tests/macos/standin/StandInTest.h"

// What a use of memory that is gone leads to: the runtime's own check, or the sanitizer's.

namespace {

using DeadObject = standin::StandInTest;

constexpr auto caught = "dead object|heap-use-after-free|released more often";

TEST_F(DeadObject, ReleasedAgainDies) {
  const auto releaseTwice = [] {
    NSObject* object = [NSObject new];
    CFRelease((__bridge CFTypeRef)object);
  };
  EXPECT_DEATH(releaseTwice(), caught);
}

TEST_F(DeadObject, RetainedDies) {
  const auto retainDead = [] {
    CFTypeRef reference = (__bridge_retained CFTypeRef)[NSObject new];
    CFRelease(reference);
    CFRetain(reference);
  };
  EXPECT_DEATH(retainDead(), caught);
}

TEST_F(DeadObject, WeaklyReferencedWhileItDiesDies) {
  EXPECT_DEATH(
      {
        @autoreleasepool {
          [NSClassFromString(@"SelfReferringProbe") new];
        }
      },
      "weak reference to an object that is being deallocated");
}

}  // namespace

@interface SelfReferringProbe : NSObject
@end

@implementation SelfReferringProbe

- (void)dealloc {
  __weak id weak = self;
  (void)weak;
}

@end
