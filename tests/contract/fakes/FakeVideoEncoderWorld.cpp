#include <memory>
#include <string>

#include "tests/contract/ForeignPixelBuffer.h"
#include "tests/contract/VideoEncoderContract.h"
#include "tests/fakes/FakeVideoEncoder.h"

namespace quorvin::contract {
namespace {

using fakes::FakeVideoEncoder;

// Frames of one colour, which is what the fake's units say of a frame.
class FakeVideoEncoderWorld final : public VideoEncoderWorld {
 public:
  explicit FakeVideoEncoderWorld(FakeVideoEncoder::Delivery delivery) { fake.delivery = delivery; }
  ~FakeVideoEncoderWorld() override { EXPECT_TRUE(fake.violations.empty()); }

  VideoEncoder& videoEncoder() override { return fake; }
  std::shared_ptr<PixelBuffer> frame(const FrameSize& size, const ColourAt& colourAt) override {
    const auto colour = colourAt(0, 0);
    const std::uint32_t content =
        std::uint32_t{colour.red} << 16U | std::uint32_t{colour.green} << 8U | colour.blue;
    return std::make_shared<fakes::FakePixelBuffer>(size.width, size.height, content);
  }
  std::shared_ptr<PixelBuffer> unusableFrame(const FrameSize& size) override {
    return std::make_shared<ForeignPixelBuffer>(size);
  }
  bool runUntil(const Condition& condition) override {
    settle();
    return condition();
  }
  void settle() override {
    dispatch.runUntilIdle();
    while (fake.deliverNext()) {
    }
  }
  DecodedFrame decode(const std::vector<std::uint8_t>& byteStream) override {
    const auto read = fakes::FakeEncodedFrame::readFromEnd(byteStream);
    const Colour colour{static_cast<std::uint8_t>(read.content >> 16U),
                        static_cast<std::uint8_t>(read.content >> 8U),
                        static_cast<std::uint8_t>(read.content)};
    const FrameSize size{read.width, read.height};
    return {size, std::vector<Colour>(size.width * size.height, colour)};
  }

 private:
  fakes::SimulatedDispatch dispatch;
  FakeVideoEncoder fake{dispatch};
};

WorldKind<VideoEncoderWorld> delivering(const std::string& name,
                                        FakeVideoEncoder::Delivery delivery) {
  return {name, [=] {
            return std::make_unique<FakeVideoEncoderWorld>(delivery);
          }};
}

const auto deliveries =
    testing::Values(delivering("AtOnce", FakeVideoEncoder::Delivery::atOnce),
                    delivering("Later", FakeVideoEncoder::Delivery::later),
                    delivering("WhenTold", FakeVideoEncoder::Delivery::whenTold));

}  // namespace

INSTANTIATE_TEST_SUITE_P(Fake, VideoEncoderContract, deliveries, nameOfWorld);
INSTANTIATE_TEST_SUITE_P(Fake, VideoStreamContract, deliveries, nameOfWorld);

}  // namespace quorvin::contract
