#include "platform/linux/capture/ImageEncoder.h"

#include <turbojpeg.h>

#include <algorithm>
#include <cmath>
#include <span>

#include "platform/linux/capture/CapturedPixelBuffer.h"
#include "platform/linux/capture/FrameBufferPool.h"

namespace quorvin {

namespace {

struct DestroyCompressor {
  void operator()(void* compressor) const { tjDestroy(compressor); }
};
using Compressor = std::unique_ptr<void, DestroyCompressor>;

constexpr std::size_t longestJpegSide = 65'500;

int qualityFrom(double compressionFactor) {
  if (!(compressionFactor > 0)) return 1;  // also what is not a number
  return static_cast<int>(std::lround(std::clamp(compressionFactor * 100, 1.0, 100.0)));
}

bool isEncodable(const CapturedPixelBuffer& picture) {
  const auto isSide = [](std::size_t px) {
    return px >= 1 && px <= longestJpegSide;
  };
  return isSide(picture.widthPx()) && isSide(picture.heightPx());
}

class TurboJpegContext final : public ImageContext {
 public:
  [[nodiscard]] std::optional<Data> jpegRepresentation(const PixelBuffer& picture,
                                                       double compressionFactor) override {
    const auto* captured = dynamic_cast<const CapturedPixelBuffer*>(&picture);
    if (captured == nullptr || !compressor || !isEncodable(*captured)) return {};
    return compress(*captured, qualityFrom(compressionFactor));
  }

 private:
  std::optional<Data> compress(const CapturedPixelBuffer& picture, int quality) {
    const int width = static_cast<int>(picture.widthPx());
    const int height = static_cast<int>(picture.heightPx());
    unsigned long size = tjBufSize(width, height, TJSAMP_420);  // NOLINT: the library's own type
    const std::shared_ptr<std::uint8_t> buffer = buffers->take(size);
    unsigned char* bytes = buffer.get();
    const int failed = tjCompress2(
        compressor.get(), picture.data(), width, static_cast<int>(picture.strideBytes()), height,
        TJPF_BGRX, &bytes, &size, TJSAMP_420, quality, TJFLAG_FASTDCT | TJFLAG_NOREALLOC);
    if (failed != 0) return {};
    return Data(buffer, std::span<const std::uint8_t>(buffer.get(), size));
  }

  Compressor compressor{tjInitCompress()};
  std::shared_ptr<FrameBufferPool> buffers = std::make_shared<FrameBufferPool>();
};

}  // namespace

std::unique_ptr<ImageContext> LinuxImageEncoder::makeContext(bool /*cacheIntermediates*/) {
  return std::make_unique<TurboJpegContext>();
}

}  // namespace quorvin
