#include <turbojpeg.h>

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <vector>

#include "platform/linux/frame/CapturedFrame.h"
#include "platform/linux/jpeg/ImageEncoder.h"
#include "tests/contract/ForeignPixelBuffer.h"
#include "tests/contract/ImageEncoderContract.h"

namespace quorvin::contract {
namespace {

class LinuxImageEncoderWorld final : public ImageEncoderWorld {
 public:
  ImageEncoder& imageEncoder() override { return encoder; }

  std::shared_ptr<PixelBuffer> frame(const FrameSize& size, const ColourAt& colourAt) override {
    auto pixels = std::make_shared<std::vector<std::uint8_t>>();
    pixels->reserve(size.width * size.height * bytesPerPixel);
    for (std::size_t y = 0; y < size.height; ++y) {
      for (std::size_t x = 0; x < size.width; ++x) {
        const auto colour = colourAt(x, y);
        pixels->insert(pixels->end(), {colour.blue, colour.green, colour.red, 0xFF});
      }
    }
    const auto* first = pixels->data();
    return std::make_shared<CapturedFrame>(std::move(pixels), first, size.width, size.height,
                                           size.width * bytesPerPixel);
  }
  std::shared_ptr<PixelBuffer> unusableFrame() override {
    return std::make_shared<ForeignPixelBuffer>(FrameSize{8, 8});
  }

  DecodedFrame decode(const Data& file) override {
    const std::unique_ptr<void, int (*)(void*)> decoder(tjInitDecompress(), tjDestroy);
    int width = 0;
    int height = 0;
    int subsampling = 0;
    int colourSpace = 0;
    require(tjDecompressHeader3(decoder.get(), file.data(), file.size(), &width, &height,
                                &subsampling, &colourSpace));
    DecodedFrame decoded{{static_cast<std::size_t>(width), static_cast<std::size_t>(height)}, {}};
    decoded.pixels.resize(decoded.size.width * decoded.size.height);
    static_assert(sizeof(Colour) == 3);
    require(tjDecompress2(decoder.get(), file.data(), file.size(), &decoded.pixels.data()->red,
                          width, 0, height, TJPF_RGB, TJFLAG_STOPONWARNING));
    return decoded;
  }

 private:
  static constexpr std::size_t bytesPerPixel = 4;

  static void require(int status) {
    if (status != 0) throw std::runtime_error("no sound JPEG file");
  }

  LinuxImageEncoder encoder;
};

const auto turboJpeg = testing::Values(
    WorldKind<ImageEncoderWorld>{"TurboJpeg", [] {
                                   return std::make_unique<LinuxImageEncoderWorld>();
                                 }});

}  // namespace

INSTANTIATE_TEST_SUITE_P(Linux, ImageEncoderContract, turboJpeg, nameOfWorld);
INSTANTIATE_TEST_SUITE_P(Linux, JpegContract, turboJpeg, nameOfWorld);

}  // namespace quorvin::contract
