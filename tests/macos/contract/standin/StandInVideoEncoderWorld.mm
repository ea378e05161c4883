#import <CoreMedia/CoreMediaControl.h>
#import <CoreVideo/CoreVideoControl.h>
#import <VideoToolbox/VideoToolboxControl.h>

#include <memory>
#include <stdexcept>

#import "platform/macos/CaptureSample.h"
#include "platform/macos/VideoEncoder.h"
#include "tests/contract/ForeignPixelBuffer.h"
#include "tests/contract/VideoEncoderContract.h"
#include "tests/macos/standin/Threads.h"

namespace quorvin::contract {
namespace {

// What has the form of a frame that stands by itself, and shows nothing.
standin::EncoderOutput encodedFrame() {
  id format = standin::makeFormatDescription(
      {.parameterSets = {{.bytes = {0x67, 0x4D, 0x00, 0x0A}}, {.bytes = {0x68, 0xEE}}}});
  id data = standin::makeBlockBuffer({.blocks = {{0, 0, 0, 3, 0x65, 0x88}, {0x84}}});
  return {.sampleBuffer = standin::makeSampleBuffer(
              { .attachments = @[ @{} ], .dataBuffer = data, .formatDescription = format })};
}

class StandInVideoEncoderWorld final : public VideoEncoderWorld {
 public:
  StandInVideoEncoderWorld() {
    standin::setEncoder([](id /*frame*/, CMTime /*time*/) { return encodedFrame(); });
  }
  ~StandInVideoEncoderWorld() override {
    standin::settle();
    standin::resetVideoToolbox();
  }

  VideoEncoder& videoEncoder() override { return encoder; }
  std::shared_ptr<PixelBuffer> frame(const FrameSize& size, const ColourAt& /*colourAt*/) override {
    @autoreleasepool {
      id buffer = standin::makePixelBuffer(size.width, size.height);
      return std::make_shared<MacPixelBuffer>((__bridge CVPixelBufferRef)buffer);
    }
  }
  std::shared_ptr<PixelBuffer> unusableFrame(const FrameSize& size) override {
    return std::make_shared<ForeignPixelBuffer>(size);
  }
  bool runUntil(const Condition& condition) override {
    settle();
    return condition();
  }
  void settle() override { standin::settle(); }
  DecodedFrame decode(const std::vector<std::uint8_t>& /*byteStream*/) override {
    throw std::logic_error("no frame was really encoded");
  }

 private:
  MacVideoEncoder encoder;
};

}  // namespace

INSTANTIATE_TEST_SUITE_P(Mac, VideoEncoderContract,
                         testing::Values(WorldKind<VideoEncoderWorld>{
                             "VideoToolbox",
                             [] { return std::make_unique<StandInVideoEncoderWorld>(); }}),
                         nameOfWorld);

}  // namespace quorvin::contract
