#include <gtest/gtest.h>
#include <turbojpeg.h>

#include <cmath>
#include <limits>
#include <thread>
#include <vector>

#include "platform/linux/frame/CapturedFrame.h"
#include "platform/linux/jpeg/ImageEncoder.h"
#include "tests/linux/capture/TestImages.h"

namespace quorvin {
namespace {

CapturedFrame bufferOf(const PixelImage& image) {
  return {image.memory, image.memory.get(), static_cast<std::size_t>(image.size.width),
          static_cast<std::size_t>(image.size.height), image.strideBytes()};
}

PixelImage gradient(PixelSize size) {
  PixelImage image = makeTestImage(size);
  for (int y = 0; y < size.height; ++y) {
    for (int x = 0; x < size.width; ++x) {
      setPixel(
          image, x, y,
          static_cast<std::uint32_t>((x * 7 % 256) << 16 | (y * 5 % 256) << 8 | (x * y % 256)));
    }
  }
  return image;
}

int subsamplingOf(const Data& jpeg) {
  int width = 0;
  int height = 0;
  int subsampling = -1;
  int colourSpace = 0;
  const std::unique_ptr<void, int (*)(void*)> decompressor(tjInitDecompress(), tjDestroy);
  EXPECT_EQ(tjDecompressHeader3(decompressor.get(), jpeg.data(), jpeg.size(), &width, &height,
                                &subsampling, &colourSpace),
            0);
  return subsampling;
}

class ImageEncoderTest : public testing::Test {
 protected:
  LinuxImageEncoder encoder;
  std::unique_ptr<ImageContext> context = encoder.makeContext(false);
};

TEST_F(ImageEncoderTest, WritesColoursAtHalfResolution) {
  const auto jpeg = context->jpegRepresentation(bufferOf(gradient({101, 67})), 0.72);
  EXPECT_EQ(subsamplingOf(jpeg.value()), TJSAMP_420);
}

TEST_F(ImageEncoderTest, ClampsFactorsOutOfRange) {
  const PixelImage image = gradient({64, 64});
  const auto worst = context->jpegRepresentation(bufferOf(image), 0.01);
  const auto best = context->jpegRepresentation(bufferOf(image), 1.0);
  EXPECT_EQ(context->jpegRepresentation(bufferOf(image), 0.0), worst);
  EXPECT_EQ(context->jpegRepresentation(bufferOf(image), -3.0), worst);
  EXPECT_EQ(context->jpegRepresentation(bufferOf(image), std::nan("")), worst);
  EXPECT_EQ(context->jpegRepresentation(bufferOf(image), 7.0), best);
  EXPECT_EQ(context->jpegRepresentation(bufferOf(image), std::numeric_limits<double>::infinity()),
            best);
}

TEST_F(ImageEncoderTest, CannotRenderAFrameWithoutPixels) {
  const CapturedFrame empty(nullptr, nullptr, 0, 0, 0);
  EXPECT_FALSE(context->jpegRepresentation(empty, 0.72));
}

TEST_F(ImageEncoderTest, PayloadsOutliveTheContextAndEndOnAnyThread) {
  std::vector<Data> payloads;
  payloads.reserve(8);
  for (int i = 0; i < 8; ++i) {
    payloads.push_back(context->jpegRepresentation(bufferOf(gradient({64, 64})), 0.72).value());
  }
  context.reset();
  EXPECT_EQ(payloads.front(), payloads.back());
  std::thread([held = std::move(payloads)]() mutable { held.clear(); }).join();
}

TEST_F(ImageEncoderTest, ReusesTheMemoryOfAReleasedPayload) {
  const PixelImage image = gradient({64, 64});
  auto first = context->jpegRepresentation(bufferOf(image), 0.72);
  const std::uint8_t* memory = first.value().data();
  first.reset();
  EXPECT_EQ(context->jpegRepresentation(bufferOf(image), 0.72).value().data(), memory);
}

}  // namespace
}  // namespace quorvin
