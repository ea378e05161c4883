#import <AppKit/AppKit.h>
#import <CoreVideo/CoreVideo.h>

#include <cmath>
#include <memory>
#include <stdexcept>

#include "platform/macos/ImageEncoder.h"
#include "platform/macos/PixelBuffer.h"
#include "tests/contract/ImageEncoderContract.h"

namespace quorvin::contract {
namespace {

class ForeignPixelBuffer final : public PixelBuffer {
 public:
  [[nodiscard]] std::size_t widthPx() const override { return 8; }
  [[nodiscard]] std::size_t heightPx() const override { return 8; }
};

CVPixelBufferRef makeBuffer(const PictureSize& size) {
  CVPixelBufferRef buffer = nullptr;
  if (CVPixelBufferCreate(kCFAllocatorDefault, size.width, size.height, kCVPixelFormatType_32BGRA,
                          nullptr, &buffer) != kCVReturnSuccess) {
    throw std::runtime_error("no pixel buffer");
  }
  return buffer;
}

void fill(CVPixelBufferRef buffer, const PictureSize& size, const ColourAt& colourAt) {
  CVPixelBufferLockBaseAddress(buffer, 0);
  auto* const first = static_cast<std::uint8_t*>(CVPixelBufferGetBaseAddress(buffer));
  for (std::size_t y = 0; y < size.height; ++y) {
    std::uint8_t* pixel = first + y * CVPixelBufferGetBytesPerRow(buffer);
    for (std::size_t x = 0; x < size.width; ++x) {
      const auto colour = colourAt(x, y);
      *pixel++ = colour.blue;
      *pixel++ = colour.green;
      *pixel++ = colour.red;
      *pixel++ = 0xFF;
    }
  }
  CVPixelBufferUnlockBaseAddress(buffer, 0);
}

std::uint8_t byteOf(CGFloat component) {
  return static_cast<std::uint8_t>(std::lround(component * 255));
}

class MacImageEncoderWorld final : public ImageEncoderWorld {
 public:
  ImageEncoder& imageEncoder() override { return encoder; }
  std::shared_ptr<PixelBuffer> picture(const PictureSize& size, const ColourAt& colourAt) override {
    CVPixelBufferRef buffer = makeBuffer(size);
    fill(buffer, size, colourAt);
    auto picture = std::make_shared<MacPixelBuffer>(buffer);
    CVPixelBufferRelease(buffer);
    return picture;
  }
  std::shared_ptr<PixelBuffer> unusablePicture() override {
    return std::make_shared<ForeignPixelBuffer>();
  }
  DecodedPicture decode(const Data& file) override {
    @autoreleasepool {
      NSBitmapImageRep* bitmap =
          [NSBitmapImageRep imageRepWithData:[NSData dataWithBytes:file.data() length:file.size()]];
      if (bitmap == nil) throw std::runtime_error("no sound JPEG file");
      DecodedPicture decoded{{static_cast<std::size_t>(bitmap.pixelsWide),
                              static_cast<std::size_t>(bitmap.pixelsHigh)},
                             {}};
      for (NSInteger y = 0; y < bitmap.pixelsHigh; ++y) {
        for (NSInteger x = 0; x < bitmap.pixelsWide; ++x) {
          // The file's own numbers, not those of another colour space.
          NSColor* colour = [bitmap colorAtX:x y:y];
          decoded.pixels.push_back({byteOf(colour.redComponent), byteOf(colour.greenComponent),
                                    byteOf(colour.blueComponent)});
        }
      }
      return decoded;
    }
  }

 private:
  MacImageEncoder encoder;
};

const auto coreImage = testing::Values(WorldKind<ImageEncoderWorld>{
    "CoreImage", [] { return std::make_unique<MacImageEncoderWorld>(); }});

}  // namespace

INSTANTIATE_TEST_SUITE_P(Mac, ImageEncoderContract, coreImage, nameOfWorld);
INSTANTIATE_TEST_SUITE_P(Mac, JpegContract, coreImage, nameOfWorld);

}  // namespace quorvin::contract
