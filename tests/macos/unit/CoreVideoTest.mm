#import <CoreVideo/CoreVideo.h>
#import <CoreVideo/CoreVideoControl.h>

#include <gmock/gmock.h>

#include "tests/macos/standin/StandInTest.h"

namespace standin {
namespace {

using testing::ElementsAre;
using testing::SizeIs;

class CoreVideoTest : public StandInTest {};

CVPixelBufferRef handleOf(id pixelBuffer) { return (__bridge CVPixelBufferRef)pixelBuffer; }

// A handle whose object is gone.
CVPixelBufferRef releasedHandle() {
  @autoreleasepool {
    id buffer = makePixelBuffer(4, 4);
    return handleOf(buffer);
  }
}

TEST_F(CoreVideoTest, MakesPicturesOfBlueGreenRedAndAlpha) {
  id buffer = makePixelBuffer(3, 2, {.red = 1, .green = 2, .blue = 3});
  setPixel(buffer, 2, 1, {.red = 4, .green = 5, .blue = 6});
  EXPECT_EQ(CVPixelBufferGetWidth(handleOf(buffer)), 3);
  EXPECT_EQ(CVPixelBufferGetHeight(handleOf(buffer)), 2);
  const auto stride = CVPixelBufferGetBytesPerRow(handleOf(buffer));
  EXPECT_GT(stride, 3 * 4);

  EXPECT_EQ(CVPixelBufferLockBaseAddress(handleOf(buffer), kCVPixelBufferLock_ReadOnly),
            kCVReturnSuccess);
  const auto* bytes =
      static_cast<const std::uint8_t*>(CVPixelBufferGetBaseAddress(handleOf(buffer)));
  EXPECT_THAT(std::vector(bytes, bytes + 4), ElementsAre(3, 2, 1, 255));
  const auto* last = bytes + stride + 8;
  EXPECT_THAT(std::vector(last, last + 4), ElementsAre(6, 5, 4, 255));
  EXPECT_EQ(CVPixelBufferUnlockBaseAddress(handleOf(buffer), kCVPixelBufferLock_ReadOnly),
            kCVReturnSuccess);
}

TEST_F(CoreVideoTest, KeepsARetainedPictureUntilItsRelease) {
  CVPixelBufferRef kept = nullptr;
  @autoreleasepool {
    id buffer = makePixelBuffer(3, 2);
    kept = CVPixelBufferRetain(handleOf(buffer));
  }
  EXPECT_EQ(CVPixelBufferGetWidth(kept), 3);
  CVPixelBufferRelease(kept);
  EXPECT_EQ(CVPixelBufferGetWidth(kept), 0);
  EXPECT_THAT(takeViolations(), SizeIs(1));
}

TEST_F(CoreVideoTest, TakesNoPictureAtAllForRetainAndRelease) {
  EXPECT_EQ(CVPixelBufferRetain(nullptr), nullptr);
  CVPixelBufferRelease(nullptr);
}

TEST_F(CoreVideoTest, RefusesEveryUseOfAReleasedPicture) {
  CVPixelBufferRef gone = releasedHandle();
  EXPECT_EQ(CVPixelBufferRetain(gone), nullptr);
  CVPixelBufferRelease(gone);
  EXPECT_EQ(CVPixelBufferLockBaseAddress(gone, 0), kCVReturnInvalidArgument);
  EXPECT_EQ(CVPixelBufferUnlockBaseAddress(gone, 0), kCVReturnInvalidArgument);
  EXPECT_EQ(CVPixelBufferGetBaseAddress(gone), nullptr);
  EXPECT_EQ(CVPixelBufferGetBytesPerRow(gone), 0);
  EXPECT_EQ(CVPixelBufferGetWidth(gone), 0);
  EXPECT_EQ(CVPixelBufferGetHeight(gone), 0);
  EXPECT_THAT(takeViolations(), SizeIs(8));
}

TEST_F(CoreVideoTest, RefusesTheAddressWithoutALock) {
  id buffer = makePixelBuffer(3, 2);
  EXPECT_EQ(CVPixelBufferGetBaseAddress(handleOf(buffer)), nullptr);
  EXPECT_THAT(takeViolations(), ElementsAre("CVPixelBufferGetBaseAddress without a lock"));
}

TEST_F(CoreVideoTest, RefusesMoreUnlocksThanLocks) {
  id buffer = makePixelBuffer(3, 2);
  CVPixelBufferLockBaseAddress(handleOf(buffer), 0);
  CVPixelBufferUnlockBaseAddress(handleOf(buffer), 0);
  EXPECT_EQ(CVPixelBufferUnlockBaseAddress(handleOf(buffer), 0), kCVReturnInvalidArgument);
  EXPECT_THAT(takeViolations(), ElementsAre("CVPixelBufferUnlockBaseAddress without a lock"));
}

}  // namespace
}  // namespace standin
