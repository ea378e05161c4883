#include <chrono>
#include <memory>

#include "platform/macos/VideoEncoder.h"
#include "tests/contract/VideoEncoderContract.h"
#include "tests/macos/contract/mac/DecodedH264.h"
#include "tests/macos/contract/mac/MacFrames.h"
#include "tests/macos/contract/mac/RunLoop.h"

namespace quorvin::contract {
namespace {

// The encoder of this Mac, in hardware or not.
class MacVideoEncoderWorld final : public VideoEncoderWorld {
 public:
  VideoEncoder& videoEncoder() override { return encoder; }
  std::shared_ptr<PixelBuffer> frame(const FrameSize& size, const ColourAt& colourAt) override {
    return makeMacFrame(size, colourAt);
  }
  std::shared_ptr<PixelBuffer> unusableFrame(const FrameSize& size) override {
    return makeForeignFrame(size);
  }
  bool runUntil(const Condition& condition) override { return runLoopUntil(condition); }
  void settle() override {
    // Nothing tells when an encoder has become still.
    (void)runLoopUntil([] { return false; }, std::chrono::milliseconds(200));
  }
  DecodedFrame decode(const std::vector<std::uint8_t>& byteStream) override {
    return decodeH264(byteStream);
  }

 private:
  MacVideoEncoder encoder;
};

const auto videoToolbox = testing::Values(WorldKind<VideoEncoderWorld>{
    "VideoToolbox", [] { return std::make_unique<MacVideoEncoderWorld>(); }});

}  // namespace

INSTANTIATE_TEST_SUITE_P(Mac, VideoEncoderContract, videoToolbox, nameOfWorld);
INSTANTIATE_TEST_SUITE_P(Mac, VideoStreamContract, videoToolbox, nameOfWorld);

}  // namespace quorvin::contract
