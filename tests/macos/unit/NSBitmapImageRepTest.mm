#import <AppKit/DecodedJpeg.h>
#import <AppKit/NSBitmapImageRep.h>
#import <AppKit/NSBitmapImageRepControl.h>
#import <CoreGraphics/StandInImage.h>

#include <gmock/gmock.h>

#include "tests/macos/standin/StandInTest.h"

namespace standin {
namespace {

using testing::ElementsAre;
using testing::SizeIs;

class NSBitmapImageRepTest : public StandInTest {
 protected:
  void TearDown() override {
    resetBitmaps();
    StandInTest::TearDown();
  }

  // One colour, 16 by 8.
  static NSBitmapImageRep* makeBitmap() {
    std::vector<std::uint8_t> pixels;
    for (int pixel = 0; pixel < 16 * 8; ++pixel) pixels.insert(pixels.end(), {200, 100, 50, 255});
    StandInImage* image = [[StandInImage alloc] initWithWidth:16 height:8 pixels:pixels];
    return [[NSBitmapImageRep alloc] initWithCGImage:(__bridge CGImageRef)image];
  }

  static NSData* jpegOf(NSBitmapImageRep* bitmap, NSDictionary* properties) {
    return [bitmap representationUsingType:NSBitmapImageFileTypeJPEG properties:properties];
  }

  static std::span<const std::uint8_t> bytesOf(NSData* data) {
    return {static_cast<const std::uint8_t*>(data.bytes), data.length};
  }
};

// The first step size of the file's first quantization table (ITU-T T.81, B.2.4.1): what the
// quality decides.
int firstQuantizationStep(std::span<const std::uint8_t> file) {
  for (std::size_t at = 0; at + 5 < file.size(); ++at) {
    if (file[at] == 0xFF && file[at + 1] == 0xDB) return file[at + 5];
  }
  return 0;
}

TEST_F(NSBitmapImageRepTest, WritesARealJpegFile) {
  NSData* file = jpegOf(
      makeBitmap(),
      @{NSImageCompressionFactor : @0.9});
  const auto decoded = decodeJpeg(bytesOf(file));
  ASSERT_TRUE(decoded);
  EXPECT_EQ(decoded->width, 16);
  EXPECT_EQ(decoded->height, 8);
  EXPECT_TRUE(isClose(decoded->at(8, 4), {.red = 200, .green = 100, .blue = 50}));
  EXPECT_EQ(newestRepresentation(), file.bytes);
}

TEST_F(NSBitmapImageRepTest, WritesTheQualityThatTheFactorAsksFor) {
  NSBitmapImageRep* bitmap = makeBitmap();
  const auto stepOf = [&](NSNumber* factor) {
    return firstQuantizationStep(bytesOf(jpegOf(bitmap, @{NSImageCompressionFactor : factor})));
  };
  // The scaling rule of the table in T.81, K.1, whose first step is 16: 100 gives 1, 50 the table
  // itself, and less than that multiples of it.
  EXPECT_EQ(stepOf(@1.0), 1);
  EXPECT_EQ(stepOf(@0.5), 16);
  EXPECT_EQ(stepOf(@0.25), 32);
}

TEST_F(NSBitmapImageRepTest, HasNoFileForAnImageWithoutPixels) {
  StandInImage* image = [[StandInImage alloc] initWithWidth:0 height:0 pixels:{}];
  NSBitmapImageRep* bitmap = [[NSBitmapImageRep alloc] initWithCGImage:(__bridge CGImageRef)image];
  EXPECT_EQ(jpegOf(
                bitmap,
                @{NSImageCompressionFactor : @0.5}),
            nil);
}

TEST_F(NSBitmapImageRepTest, IsNotDecodedUnlessItIsAWholeFile) {
  const auto file = bytesOf(jpegOf(
      makeBitmap(),
      @{NSImageCompressionFactor : @0.9}));
  EXPECT_TRUE(decodeJpeg(file));
  EXPECT_FALSE(decodeJpeg(file.first(file.size() / 2)));
  EXPECT_FALSE(decodeJpeg(file.first(0)));
}

TEST_F(NSBitmapImageRepTest, RefusesABitmapOfAReleasedImage) {
  CGImageRef gone = nullptr;
  @autoreleasepool {
    StandInImage* image = [[StandInImage alloc] initWithWidth:1 height:1 pixels:{1, 2, 3, 4}];
    gone = (__bridge CGImageRef)image;
  }
  EXPECT_EQ([[NSBitmapImageRep alloc] initWithCGImage:gone], nil);
  EXPECT_THAT(takeViolations(), SizeIs(1));
}

TEST_F(NSBitmapImageRepTest, RefusesWhatIsNoCompressionFactor) {
  EXPECT_EQ(jpegOf(makeBitmap(), @{NSImageCompressionFactor : @"0.5"}), nil);
  EXPECT_THAT(takeViolations(), ElementsAre("NSImageCompressionFactor is no number"));
  EXPECT_EQ(jpegOf(
                makeBitmap(),
                @{NSImageCompressionFactor : @72}),
            nil);
  EXPECT_THAT(takeViolations(), ElementsAre("NSImageCompressionFactor is not within 0.0 to 1.0"));
  EXPECT_EQ(jpegOf(makeBitmap(), @{}), nil);
  EXPECT_THAT(takeViolations(), ElementsAre("NSImageCompressionFactor is no number"));
}

TEST_F(NSBitmapImageRepTest, RefusesPropertiesThatItDoesNotKnow) {
  (void)jpegOf(
      makeBitmap(),
      @{NSImageCompressionFactor : @0.5,
        @"NSImageUnheardOf" : @1});
  EXPECT_THAT(takeViolations(), ElementsAre("unknown property of an image file: NSImageUnheardOf"));
}

TEST_F(NSBitmapImageRepTest, RefusesOtherFileTypes) {
  EXPECT_EQ([makeBitmap() representationUsingType:NSBitmapImageFileTypePNG
                                       properties:@{
                                         NSImageCompressionFactor : @0.5
                                       }],
            nil);
  EXPECT_THAT(takeViolations(), ElementsAre("this stand-in writes JPEG files only"));
}

TEST_F(NSBitmapImageRepTest, FailsWhenTheTestSaysSo) {
  NSBitmapImageRep* bitmap = makeBitmap();
  failBitmapEncoding();
  EXPECT_EQ(jpegOf(
                bitmap,
                @{NSImageCompressionFactor : @0.5}),
            nil);
  failBitmapCreation();
  EXPECT_EQ(makeBitmap(), nil);
}

}  // namespace
}  // namespace standin
