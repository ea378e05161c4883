#include <memory>
#include <stdexcept>

#include "tests/contract/ImageEncoderContract.h"
#include "tests/fakes/FakeImageEncoder.h"

namespace quorvin::contract {
namespace {

class FakeImageEncoderWorld final : public ImageEncoderWorld {
 public:
  ImageEncoder& imageEncoder() override { return fake; }
  std::shared_ptr<PixelBuffer> frame(const FrameSize& size, const ColourAt& colourAt) override {
    const auto colour = colourAt(0, 0);
    const std::uint32_t content =
        std::uint32_t{colour.red} << 16U | std::uint32_t{colour.green} << 8U | colour.blue;
    return std::make_shared<fakes::FakePixelBuffer>(size.width, size.height, content);
  }
  std::shared_ptr<PixelBuffer> unusableFrame() override {
    fake.fails = true;
    return std::make_shared<fakes::FakePixelBuffer>(8, 8, 1);
  }
  DecodedFrame decode(const Data& /*file*/) override {
    throw std::logic_error("the fake's files are no JPEG files");
  }

 private:
  fakes::FakeImageEncoder fake;
};

}  // namespace

INSTANTIATE_TEST_SUITE_P(Fake, ImageEncoderContract,
                         testing::Values(WorldKind<ImageEncoderWorld>{
                             "Numbers",
                             [] {
                               return std::make_unique<FakeImageEncoderWorld>();
                             }}),
                         nameOfWorld);
// The fake's files say which frame they show, and are no JPEG files.
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(JpegContract);

}  // namespace quorvin::contract
