#import <CoreGraphics/CoreGraphics.h>
#import <CoreGraphics/StandInImage.h>
#import <CoreImage/CoreImage.h>
#import <CoreImage/CoreImageControl.h>
#import <CoreVideo/CoreVideoControl.h>

#include <gmock/gmock.h>

#include "tests/macos/standin/StandInTest.h"

namespace standin {
namespace {

using testing::ElementsAre;
using testing::SizeIs;

class CoreImageTest : public StandInTest {
 protected:
  void TearDown() override {
    resetCoreImage();
    StandInTest::TearDown();
  }

  static CIImage* imageOf(id pixelBuffer) {
    return [[CIImage alloc] initWithCVPixelBuffer:(__bridge CVPixelBufferRef)pixelBuffer];
  }

  // Red, green, blue and alpha of every pixel of a part.
  static std::vector<std::uint8_t> rendered(CIImage* image, CGRect part) {
    CIContext* context = [CIContext contextWithOptions:nil];
    CGImageRef bitmap = [context createCGImage:image fromRect:part];
    StandInImage* content = [StandInImage objectFor:bitmap operation:"the test"];
    const std::vector<std::uint8_t> pixels(content.pixels,
                                           content.pixels + content.width * content.height * 4);
    CGImageRelease(bitmap);
    return pixels;
  }
};

TEST_F(CoreImageTest, ExtendsOverTheWholePicture) {
  const CGRect extent = imageOf(makePixelBuffer(5, 3)).extent;
  EXPECT_EQ(extent.origin.x, 0);
  EXPECT_EQ(extent.origin.y, 0);
  EXPECT_EQ(extent.size.width, 5);
  EXPECT_EQ(extent.size.height, 3);
}

TEST_F(CoreImageTest, RendersThePicturesColours) {
  CIImage* image = imageOf(makePixelBuffer(1, 1, {.red = 1, .green = 2, .blue = 3}));
  EXPECT_THAT(rendered(image, image.extent), ElementsAre(1, 2, 3, 255));
}

TEST_F(CoreImageTest, CountsRowsFromTheBottom) {
  id buffer = makePixelBuffer(2, 2);
  setPixel(buffer, 1, 1, {.red = 9});
  EXPECT_THAT(rendered(imageOf(buffer), {{1, 0}, {1, 1}}), ElementsAre(9, 0, 0, 255));
  EXPECT_THAT(rendered(imageOf(buffer), {{1, 1}, {1, 1}}), ElementsAre(0, 0, 0, 255));
}

TEST_F(CoreImageTest, KeepsThePictureForAsLongAsTheImage) {
  CIImage* image = nil;
  @autoreleasepool {
    image = imageOf(makePixelBuffer(1, 1, {.green = 7}));
  }
  EXPECT_THAT(rendered(image, image.extent), ElementsAre(0, 7, 0, 255));
}

TEST_F(CoreImageTest, RefusesAnImageOfAReleasedPicture) {
  CVPixelBufferRef gone = nullptr;
  @autoreleasepool {
    id buffer = makePixelBuffer(1, 1);
    gone = (__bridge CVPixelBufferRef)buffer;
  }
  EXPECT_EQ([[CIImage alloc] initWithCVPixelBuffer:gone], nil);
  EXPECT_THAT(takeViolations(), SizeIs(1));
}

TEST_F(CoreImageTest, RefusesToRenderMoreThanTheImage) {
  CIImage* image = imageOf(makePixelBuffer(2, 2));
  CIContext* context = [CIContext contextWithOptions:nil];
  for (const CGRect part : {CGRect{{0, 0}, {3, 2}}, CGRect{{0, 1}, {2, 2}}, CGRect{{-1, 0}, {1, 1}},
                            CGRect{{0, 0}, {0, 0}}}) {
    EXPECT_EQ([context createCGImage:image fromRect:part], nullptr);
    EXPECT_THAT(takeViolations(), SizeIs(1));
  }
}

TEST_F(CoreImageTest, RefusesOptionsThatItDoesNotKnow) {
  (void)[CIContext contextWithOptions:@{@"kCIContextUnheardOf" : @YES}];
  EXPECT_THAT(takeViolations(), ElementsAre("unknown option of a CIContext: kCIContextUnheardOf"));
  (void)[CIContext contextWithOptions:@{kCIContextCacheIntermediates : @"no"}];
  EXPECT_THAT(takeViolations(), ElementsAre("kCIContextCacheIntermediates is no number"));
}

TEST_F(CoreImageTest, FailsWhenTheTestSaysSo) {
  CIImage* image = imageOf(makePixelBuffer(1, 1));
  CIContext* context = [CIContext contextWithOptions:nil];
  failImageRendering();
  EXPECT_EQ([context createCGImage:image fromRect:image.extent], nullptr);
  failImageCreation();
  EXPECT_EQ(imageOf(makePixelBuffer(1, 1)), nil);
}

}  // namespace
}  // namespace standin
