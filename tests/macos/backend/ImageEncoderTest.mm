#import "platform/macos/ImageEncoder.h"

#import <AppKit/DecodedJpeg.h>
#import <AppKit/NSBitmapImageRepControl.h>
#import <CoreImage/CoreImageControl.h>
#import <CoreVideo/CoreVideoControl.h>

#include <gmock/gmock.h>

#import "platform/macos/CaptureSample.h"
#include "tests/macos/standin/StandInTest.h"

namespace quorvin {
namespace {

using standin::Colour;
using testing::ElementsAre;

constexpr Colour red{.red = 200, .green = 30, .blue = 20};
constexpr Colour blue{.red = 10, .green = 40, .blue = 210};

class ForeignFrame final : public PixelBuffer {
 public:
  [[nodiscard]] std::size_t widthPx() const override { return 8; }
  [[nodiscard]] std::size_t heightPx() const override { return 8; }
};

std::shared_ptr<PixelBuffer> frameOf(id pixelBuffer) {
  return std::make_shared<MacPixelBuffer>((__bridge CVPixelBufferRef)pixelBuffer);
}

std::shared_ptr<PixelBuffer> plainFrame() { return frameOf(standin::makePixelBuffer(32, 16, red)); }

// Red above, blue below.
std::shared_ptr<PixelBuffer> twoColouredFrame(std::size_t width, std::size_t height) {
  id buffer = standin::makePixelBuffer(width, height, red);
  for (std::size_t y = height / 2; y < height; ++y) {
    for (std::size_t x = 0; x < width; ++x) standin::setPixel(buffer, x, y, blue);
  }
  return frameOf(buffer);
}

// A frame that does not compress away.
std::shared_ptr<PixelBuffer> busyFrame() {
  id buffer = standin::makePixelBuffer(64, 64);
  for (std::size_t y = 0; y < 64; ++y) {
    for (std::size_t x = 0; x < 64; ++x) {
      const auto grey = static_cast<std::uint8_t>(x * x * 31 + y * y * 17 + x * y * 7);
      standin::setPixel(buffer, x, y, {grey, grey, grey});
    }
  }
  return frameOf(buffer);
}

class ImageEncoderTest : public standin::StandInTest {
 protected:
  void TearDown() override {
    standin::resetCoreImage();
    standin::resetBitmaps();
    StandInTest::TearDown();
  }

  static std::unique_ptr<ImageContext> makeContext() {
    return MacImageEncoder().makeContext(/*cacheIntermediates=*/false);
  }
};

TEST_F(ImageEncoderTest, MakesAContextWithTheOneOptionAsked) {
  MacImageEncoder encoder;
  const auto first = encoder.makeContext(/*cacheIntermediates=*/false);
  const auto second = encoder.makeContext(/*cacheIntermediates=*/true);
  const auto made = standin::callsOf("+[CIContext contextWithOptions:]");
  ASSERT_EQ(made.size(), 2);
  EXPECT_THAT(made[0].arguments, ElementsAre("kCIContextCacheIntermediates=false"));
  EXPECT_THAT(made[1].arguments, ElementsAre("kCIContextCacheIntermediates=true"));
}

TEST_F(ImageEncoderTest, WritesOneCompleteJpegFileOfTheFrame) {
  const auto file = makeContext()->jpegRepresentation(*twoColouredFrame(101, 66), 0.9);
  ASSERT_TRUE(file);
  EXPECT_EQ(file->bytes()[0], 0xFF);
  EXPECT_EQ(file->bytes()[1], 0xD8);
  EXPECT_EQ(file->bytes()[file->size() - 2], 0xFF);
  EXPECT_EQ(file->bytes()[file->size() - 1], 0xD9);

  const auto decoded = standin::decodeJpeg(file->bytes());
  ASSERT_TRUE(decoded);
  EXPECT_EQ(decoded->width, 101);
  EXPECT_EQ(decoded->height, 66);
  EXPECT_TRUE(isClose(decoded->at(5, 5), red));
  EXPECT_TRUE(isClose(decoded->at(95, 60), blue));
}

TEST_F(ImageEncoderTest, GoesThroughCoreImageAndABitmap) {
  const auto context = makeContext();
  const auto frame = plainFrame();
  standin::resetCallLog();
  const auto file = context->jpegRepresentation(*frame, 0.72);
  ASSERT_TRUE(file);
  EXPECT_THAT(
      standin::callNames(),
      ElementsAre("-[CIImage initWithCVPixelBuffer:]", "-[CIContext createCGImage:fromRect:]",
                  "-[NSBitmapImageRep initWithCGImage:]",
                  "-[NSBitmapImageRep representationUsingType:properties:]", "CGImageRelease"));
}

TEST_F(ImageEncoderTest, RendersTheWholeFrame) {
  const auto file = makeContext()->jpegRepresentation(*plainFrame(), 0.72);
  const auto rendered = standin::callsOf("-[CIContext createCGImage:fromRect:]");
  ASSERT_EQ(rendered.size(), 1);
  EXPECT_THAT(rendered[0].arguments, ElementsAre("0 0 32 16"));
}

TEST_F(ImageEncoderTest, AsksForAJpegWithNoPropertyButTheFactor) {
  const auto file = makeContext()->jpegRepresentation(*plainFrame(), 0.25);
  const auto encoded = standin::callsOf("-[NSBitmapImageRep representationUsingType:properties:]");
  ASSERT_EQ(encoded.size(), 1);
  EXPECT_THAT(encoded[0].arguments, ElementsAre("3", "NSImageCompressionFactor=0.25"));
}

TEST_F(ImageEncoderTest, WritesSmallerFilesForSmallerFactors) {
  const auto context = makeContext();
  const auto frame = busyFrame();
  const auto smallest = context->jpegRepresentation(*frame, 0.0);
  const auto usual = context->jpegRepresentation(*frame, 0.72);
  const auto best = context->jpegRepresentation(*frame, 1.0);
  ASSERT_TRUE(smallest && usual && best);
  EXPECT_LT(smallest->size(), usual->size());
  EXPECT_LT(usual->size(), best->size());
}

TEST_F(ImageEncoderTest, UsesOneContextForAllItsFrames) {
  const auto context = makeContext();
  for (int i = 0; i < 3; ++i) {
    EXPECT_TRUE(context->jpegRepresentation(*plainFrame(), 0.72));
  }
  EXPECT_EQ(standin::callsOf("+[CIContext contextWithOptions:]").size(), 1);
}

TEST_F(ImageEncoderTest, HandsOutTheSystemsOwnBytes) {
  const auto file = makeContext()->jpegRepresentation(*plainFrame(), 0.72);
  ASSERT_TRUE(file);
  EXPECT_EQ(file->data(), standin::newestRepresentation());
}

TEST_F(ImageEncoderTest, KeepsTheFileWhenEverythingElseIsGone) {
  std::optional<Data> kept;
  {
    const auto file = makeContext()->jpegRepresentation(*plainFrame(), 0.72);
    ASSERT_TRUE(file);
    kept = *file;
  }
  const auto decoded = standin::decodeJpeg(kept->bytes());
  ASSERT_TRUE(decoded);
  EXPECT_TRUE(isClose(decoded->at(16, 8), red));
}

TEST_F(ImageEncoderTest, LeavesNothingBehindOnceTheFileIsGone) {
  const auto context = makeContext();
  const auto frame = plainFrame();
  const auto before = standin::liveObjects();
  for (int i = 0; i < 3; ++i) {
    EXPECT_TRUE(context->jpegRepresentation(*frame, 0.72));
    EXPECT_EQ(standin::liveObjects(), before)
        << testing::PrintToString(standin::liveObjectSummary());
  }
}

TEST_F(ImageEncoderTest, GivesNothingWhenTheImageCannotBeMade) {
  standin::failImageCreation();
  EXPECT_FALSE(makeContext()->jpegRepresentation(*plainFrame(), 0.72));
  EXPECT_THAT(standin::callsOf("-[CIContext createCGImage:fromRect:]"), testing::IsEmpty());
}

TEST_F(ImageEncoderTest, GivesNothingWhenTheImageCannotBeRendered) {
  standin::failImageRendering();
  EXPECT_FALSE(makeContext()->jpegRepresentation(*plainFrame(), 0.72));
  EXPECT_THAT(standin::callsOf("-[NSBitmapImageRep initWithCGImage:]"), testing::IsEmpty());
}

TEST_F(ImageEncoderTest, GivesNothingWhenTheBitmapCannotBeMade) {
  standin::failBitmapCreation();
  EXPECT_FALSE(makeContext()->jpegRepresentation(*plainFrame(), 0.72));
}

TEST_F(ImageEncoderTest, GivesNothingWhenTheFileCannotBeWritten) {
  standin::failBitmapEncoding();
  EXPECT_FALSE(makeContext()->jpegRepresentation(*plainFrame(), 0.72));
}

TEST_F(ImageEncoderTest, EncodesTheNextFrameAfterAFailure) {
  const auto context = makeContext();
  standin::failImageRendering();
  EXPECT_FALSE(context->jpegRepresentation(*plainFrame(), 0.72));
  standin::resetCoreImage();
  EXPECT_TRUE(context->jpegRepresentation(*plainFrame(), 0.72));
}

TEST_F(ImageEncoderTest, GivesNothingForAFrameOfAnotherMaker) {
  EXPECT_FALSE(makeContext()->jpegRepresentation(ForeignFrame(), 0.72));
  EXPECT_THAT(standin::callsOf("-[CIImage initWithCVPixelBuffer:]"), testing::IsEmpty());
}

}  // namespace
}  // namespace quorvin
