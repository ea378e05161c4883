#import <AppKit/NSScreen.h>
#import <AppKit/NSScreenControl.h>

#include <gmock/gmock.h>

#include "tests/macos/standin/StandInTest.h"

namespace standin {
namespace {

using testing::SizeIs;

class NSScreenTest : public StandInTest {
 protected:
  void TearDown() override {
    resetScreens();
    StandInTest::TearDown();
  }
};

TEST_F(NSScreenTest, HasNoMainScreenBeforeTheTestMakesOne) { EXPECT_EQ(NSScreen.mainScreen, nil); }

TEST_F(NSScreenTest, DescribesTheMainScreenAsTheTestDid) {
  setMainScreen(@{@"NSScreenNumber" : @5});
  EXPECT_TRUE([NSScreen.mainScreen.deviceDescription isEqual:@{@"NSScreenNumber" : @5}]);
  setMainScreen(nil);
  EXPECT_EQ(NSScreen.mainScreen, nil);
}

TEST_F(NSScreenTest, IsForTheMainThreadOnly) {
  setMainScreen(@{@"NSScreenNumber" : @5});
  onSystemThread([] {
    @autoreleasepool {
      (void)NSScreen.mainScreen.deviceDescription;
    }
  });
  settle();
  EXPECT_THAT(takeViolations(), SizeIs(2));
}

}  // namespace
}  // namespace standin
