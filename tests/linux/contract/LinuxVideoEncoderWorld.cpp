#include <chrono>
#include <memory>
#include <thread>
#include <vector>

#include "platform/linux/video/VideoEncoder.h"
#include "tests/contract/ForeignPixelBuffer.h"
#include "tests/contract/VideoEncoderContract.h"
#include "tests/linux/video/H264Decoder.h"
#include "tests/linux/video/TestFrames.h"

namespace quorvin::contract {
namespace {

using Clock = std::chrono::steady_clock;
constexpr std::chrono::seconds timeout{20};
constexpr std::chrono::milliseconds lookAgain{1};

class LinuxVideoEncoderWorld final : public VideoEncoderWorld {
 public:
  VideoEncoder& videoEncoder() override { return encoder; }

  std::shared_ptr<PixelBuffer> frame(const FrameSize& size, const ColourAt& colourAt) override {
    return makeFrame(
        {static_cast<int>(size.width), static_cast<int>(size.height)}, [&colourAt](int x, int y) {
          const auto colour = colourAt(static_cast<std::size_t>(x), static_cast<std::size_t>(y));
          return static_cast<std::uint32_t>(colour.red) << 16U |
                 static_cast<std::uint32_t>(colour.green) << 8U | colour.blue;
        });
  }
  std::shared_ptr<PixelBuffer> unusableFrame(const FrameSize& size) override {
    return std::make_shared<ForeignPixelBuffer>(size);
  }
  bool runUntil(const Condition& condition) override {
    const auto deadline = Clock::now() + timeout;
    while (!condition()) {
      if (Clock::now() > deadline) return false;
      std::this_thread::sleep_for(lookAgain);
    }
    return true;
  }
  // Nothing is on its way anywhere but in a session, which knows of it.
  void settle() override {}

  DecodedFrame decode(const std::vector<std::uint8_t>& byteStream) override {
    const auto frames = H264Decoder::decodeAll({byteStream});
    const auto& frame = frames.at(0);
    DecodedFrame decoded{
        {static_cast<std::size_t>(frame.size.width), static_cast<std::size_t>(frame.size.height)},
        {}};
    for (int y = 0; y < frame.size.height; ++y) {
      for (int x = 0; x < frame.size.width; ++x) {
        const auto colour = frame.colourAt(x, y);
        decoded.pixels.push_back({static_cast<std::uint8_t>(colour >> 16U),
                                  static_cast<std::uint8_t>(colour >> 8U),
                                  static_cast<std::uint8_t>(colour)});
      }
    }
    return decoded;
  }

 private:
  LinuxVideoEncoder encoder;
};

const auto x264 = testing::Values(
    WorldKind<VideoEncoderWorld>{"X264", [] {
                                   return std::make_unique<LinuxVideoEncoderWorld>();
                                 }});

}  // namespace

INSTANTIATE_TEST_SUITE_P(Linux, VideoEncoderContract, x264, nameOfWorld);
INSTANTIATE_TEST_SUITE_P(Linux, VideoStreamContract, x264, nameOfWorld);

}  // namespace quorvin::contract
