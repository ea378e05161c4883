#import <AppKit/DecodedJpeg.h>
#import <CoreVideo/CoreVideoControl.h>

#include <memory>
#include <stdexcept>

#import "platform/macos/CaptureSample.h"
#include "platform/macos/ImageEncoder.h"
#include "tests/contract/ForeignPixelBuffer.h"
#include "tests/contract/ImageEncoderContract.h"

namespace quorvin::contract {
namespace {

class StandInImageEncoderWorld final : public ImageEncoderWorld {
 public:
  ImageEncoder& imageEncoder() override { return encoder; }
  std::shared_ptr<PixelBuffer> frame(const FrameSize& size, const ColourAt& colourAt) override {
    id buffer = standin::makePixelBuffer(size.width, size.height);
    for (std::size_t y = 0; y < size.height; ++y) {
      for (std::size_t x = 0; x < size.width; ++x) {
        const auto colour = colourAt(x, y);
        standin::setPixel(buffer, x, y, {colour.red, colour.green, colour.blue});
      }
    }
    return std::make_shared<MacPixelBuffer>((__bridge CVPixelBufferRef)buffer);
  }
  std::shared_ptr<PixelBuffer> unusableFrame() override {
    return std::make_shared<ForeignPixelBuffer>(FrameSize{8, 8});
  }
  DecodedFrame decode(const Data& file) override {
    const auto decoded = standin::decodeJpeg(file.bytes());
    if (!decoded) throw std::runtime_error("no sound JPEG file");
    DecodedFrame frame{{decoded->width, decoded->height}, {}};
    for (std::size_t y = 0; y < decoded->height; ++y) {
      for (std::size_t x = 0; x < decoded->width; ++x) {
        const auto colour = decoded->at(x, y);
        frame.pixels.push_back({colour.red, colour.green, colour.blue});
      }
    }
    return frame;
  }

 private:
  MacImageEncoder encoder;
};

const auto coreImage = testing::Values(WorldKind<ImageEncoderWorld>{
    "CoreImage", [] { return std::make_unique<StandInImageEncoderWorld>(); }});

}  // namespace

INSTANTIATE_TEST_SUITE_P(Mac, ImageEncoderContract, coreImage, nameOfWorld);
INSTANTIATE_TEST_SUITE_P(Mac, JpegContract, coreImage, nameOfWorld);

}  // namespace quorvin::contract
