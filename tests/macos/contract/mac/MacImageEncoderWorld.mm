#import <AppKit/AppKit.h>

#include <cmath>
#include <memory>
#include <stdexcept>

#include "platform/macos/ImageEncoder.h"
#include "tests/contract/ImageEncoderContract.h"
#include "tests/macos/contract/mac/MacFrames.h"

namespace quorvin::contract {
namespace {

std::uint8_t byteOf(CGFloat component) {
  return static_cast<std::uint8_t>(std::lround(component * 255));
}

class MacImageEncoderWorld final : public ImageEncoderWorld {
 public:
  ImageEncoder& imageEncoder() override { return encoder; }
  std::shared_ptr<PixelBuffer> frame(const FrameSize& size, const ColourAt& colourAt) override {
    return makeMacFrame(size, colourAt);
  }
  std::shared_ptr<PixelBuffer> unusableFrame() override { return makeForeignFrame({8, 8}); }
  DecodedFrame decode(const Data& file) override {
    @autoreleasepool {
      NSBitmapImageRep* bitmap =
          [NSBitmapImageRep imageRepWithData:[NSData dataWithBytes:file.data() length:file.size()]];
      if (bitmap == nil) throw std::runtime_error("no sound JPEG file");
      DecodedFrame decoded{{static_cast<std::size_t>(bitmap.pixelsWide),
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
