#include "platform/linux/jpeg/ImageEncoder.h"

#include <algorithm>
#include <cmath>

#include "platform/linux/frame/CapturedFrame.h"
#include "platform/linux/jpeg/JpegEncoder.h"

namespace quorvin {

namespace {

constexpr std::size_t longestJpegSide = 65'500;

int qualityFrom(double compressionFactor) {
  if (!(compressionFactor > 0)) return 1;  // also what is not a number
  return static_cast<int>(std::lround(std::clamp(compressionFactor * 100, 1.0, 100.0)));
}

bool isEncodable(const CapturedFrame& frame) {
  const auto isSide = [](std::size_t px) {
    return px >= 1 && px <= longestJpegSide;
  };
  return isSide(frame.widthPx()) && isSide(frame.heightPx());
}

class JpegContext final : public ImageContext {
 public:
  [[nodiscard]] std::optional<Data> jpegRepresentation(const PixelBuffer& frame,
                                                       double compressionFactor) override {
    const auto* captured = dynamic_cast<const CapturedFrame*>(&frame);
    if (captured == nullptr || !isEncodable(*captured)) return {};
    return encoder.encode(*captured, qualityFrom(compressionFactor));
  }

 private:
  JpegEncoder encoder{JpegThreads::ofThisMachine()};
};

}  // namespace

std::unique_ptr<ImageContext> LinuxImageEncoder::makeContext(bool /*cacheIntermediates*/) {
  return std::make_unique<JpegContext>();
}

}  // namespace quorvin
