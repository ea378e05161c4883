#import <CoreGraphics/CoreGraphics.h>
#import <CoreGraphics/CoreGraphicsControl.h>
#import <CoreGraphics/StandInImage.h>

#include <gmock/gmock.h>

#include "tests/macos/standin/StandInTest.h"

namespace standin {
namespace {

using testing::ElementsAre;
using testing::SizeIs;

class CoreGraphicsTest : public StandInTest {
 protected:
  void TearDown() override {
    resetCoreGraphics();
    StandInTest::TearDown();
  }
};

TEST_F(CoreGraphicsTest, GrantsNoScreenCaptureBeforeTheTestDoes) {
  EXPECT_FALSE(CGPreflightScreenCaptureAccess());
  EXPECT_FALSE(CGRequestScreenCaptureAccess());
  EXPECT_THAT(callNames(),
              ElementsAre("CGPreflightScreenCaptureAccess", "CGRequestScreenCaptureAccess"));
}

TEST_F(CoreGraphicsTest, AnswersPreflightAndRequestApart) {
  setScreenCapturePreflight(true);
  EXPECT_TRUE(CGPreflightScreenCaptureAccess());
  EXPECT_FALSE(CGRequestScreenCaptureAccess());
  resetCoreGraphics();
  setScreenCaptureRequest(true);
  EXPECT_FALSE(CGPreflightScreenCaptureAccess());
  EXPECT_TRUE(CGRequestScreenCaptureAccess());
}

TEST_F(CoreGraphicsTest, ReleasesImagesOnceAndNoMore) {
  const auto before = liveObjects();
  StandInImage* image = [[StandInImage alloc] initWithWidth:1 height:1 pixels:{1, 2, 3, 4}];
  CGImageRef handle = (__bridge_retained CGImageRef)image;
  image = nil;
  EXPECT_EQ(liveObjects(), before + 1);
  CGImageRelease(handle);
  EXPECT_EQ(liveObjects(), before);
  CGImageRelease(handle);
  EXPECT_THAT(takeViolations(), SizeIs(1));
}

TEST_F(CoreGraphicsTest, TakesNoImageAtAllForARelease) { CGImageRelease(nullptr); }

}  // namespace
}  // namespace standin
