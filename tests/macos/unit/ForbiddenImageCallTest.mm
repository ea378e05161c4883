#import <AppKit/DecodedJpeg.h>
#import <AppKit/NSBitmapImageRep.h>
#import <CoreGraphics/StandInImage.h>
#import <CoreImage/CoreImage.h>
#import <CoreVideo/CoreVideoControl.h>
#include <gmock/gmock.h>

#include <span>
#include <vector>

#include "tests/macos/standin/StandInTest.h"

// What Core Video, Core Image, Core Graphics and AppKit would not forgive of images.

namespace standin {
namespace {

using testing::ElementsAre;
using testing::SizeIs;

class ForbiddenImageCall : public StandInTest {
 protected:
  static CIImage* imageOf(id pixelBuffer) {
    return [[CIImage alloc] initWithCVPixelBuffer:(__bridge CVPixelBufferRef)pixelBuffer];
  }
  static StandInImage* makeImage() {
    return [[StandInImage alloc] initWithWidth:1 height:1 pixels:{1, 2, 3, 4}];
  }
  static NSData* jpegOf(NSDictionary* properties) {
    NSBitmapImageRep* bitmap =
        [[NSBitmapImageRep alloc] initWithCGImage:(__bridge CGImageRef)makeImage()];
    return [bitmap representationUsingType:NSBitmapImageFileTypeJPEG properties:properties];
  }
};

TEST_F(ForbiddenImageCall, PixelBuffersAreNotUsedOnceTheyAreReleased) {
  CVPixelBufferRef gone = nullptr;
  @autoreleasepool {
    gone = CVPixelBufferRetain((__bridge CVPixelBufferRef)makePixelBuffer(3, 2));
  }
  EXPECT_EQ(CVPixelBufferGetWidth(gone), 3);
  CVPixelBufferRelease(gone);
  EXPECT_EQ(CVPixelBufferGetWidth(gone), 0);
  EXPECT_EQ(CVPixelBufferGetHeight(gone), 0);
  EXPECT_EQ(CVPixelBufferRetain(gone), nullptr);
  CVPixelBufferRelease(gone);
  EXPECT_EQ([[CIImage alloc] initWithCVPixelBuffer:gone], nil);
  EXPECT_THAT(takeViolations(), SizeIs(5));
}

TEST_F(ForbiddenImageCall, ImagesAreReleasedOnceAndNoMore) {
  const auto before = liveObjects();
  CGImageRef handle = (__bridge_retained CGImageRef)makeImage();
  EXPECT_EQ(liveObjects(), before + 1);
  CGImageRelease(handle);
  EXPECT_EQ(liveObjects(), before);
  CGImageRelease(handle);
  EXPECT_EQ([[NSBitmapImageRep alloc] initWithCGImage:handle], nil);
  EXPECT_THAT(takeViolations(), SizeIs(2));
}

TEST_F(ForbiddenImageCall, NothingButTheImageIsRendered) {
  CIImage* image = imageOf(makePixelBuffer(2, 2));
  CIContext* context = [CIContext contextWithOptions:nil];
  for (const CGRect part : {CGRect{{0, 0}, {3, 2}}, CGRect{{0, 1}, {2, 2}}, CGRect{{-1, 0}, {1, 1}},
                            CGRect{{0, 0}, {0, 0}}}) {
    EXPECT_EQ([context createCGImage:image fromRect:part], nullptr);
    EXPECT_THAT(takeViolations(), SizeIs(1));
  }
}

TEST_F(ForbiddenImageCall, ContextsHaveOptionsThatAreKnown) {
  (void)[CIContext contextWithOptions:@{@"kCIContextUnheardOf" : @YES}];
  EXPECT_THAT(takeViolations(), ElementsAre("unknown option of a CIContext: kCIContextUnheardOf"));
  (void)[CIContext contextWithOptions:@{kCIContextCacheIntermediates : @"no"}];
  EXPECT_THAT(takeViolations(), ElementsAre("kCIContextCacheIntermediates is no number"));
}

TEST_F(ForbiddenImageCall, FilesHaveAFactorWithinItsLimitsAndNothingElse) {
  for (NSDictionary* wrong in
       @[ @{NSImageCompressionFactor : @"0.5"},
          @{NSImageCompressionFactor : @72}, @{} ]) {
    EXPECT_EQ(jpegOf(wrong), nil);
    EXPECT_THAT(takeViolations(), SizeIs(1));
  }
  (void)jpegOf(@{NSImageCompressionFactor : @0.5, @"NSImageUnheardOf" : @1});
  EXPECT_THAT(takeViolations(), ElementsAre("unknown property of an image file: NSImageUnheardOf"));
}

TEST_F(ForbiddenImageCall, FilesAreWhole) {
  NSData* file = jpegOf(@{NSImageCompressionFactor : @0.9});
  const std::span<const std::uint8_t> bytes(static_cast<const std::uint8_t*>(file.bytes),
                                            file.length);
  EXPECT_TRUE(decodeJpeg(bytes));
  EXPECT_FALSE(decodeJpeg(bytes.first(bytes.size() / 2)));
  EXPECT_FALSE(decodeJpeg(bytes.first(0)));
}

}  // namespace
}  // namespace standin
