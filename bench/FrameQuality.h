#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "platform/linux/frame/PixelRegion.h"

struct AVCodecContext;
struct AVFrame;

namespace quorvin {

// Decodes frames that each stand by themselves with libavcodec, as the colours that they say
// they have. One thread at a time.
class FrameDecoder {
 public:
  explicit FrameDecoder(bool isH264);

  // Rows of 0xRRGGBB pixels with any fourth byte. Throws std::runtime_error for what is no frame
  // of that size.
  [[nodiscard]] std::vector<std::uint32_t> decode(std::span<const std::uint8_t> coded,
                                                  PixelSize size);

 private:
  struct Free {
    void operator()(AVCodecContext* owned) const;
    void operator()(AVFrame* owned) const;
  };

  std::unique_ptr<AVCodecContext, Free> context;
  std::unique_ptr<AVFrame, Free> frame;
};

// The mean square of the differences of red, green and blue outside of an area. Both are rows of
// 0xRRGGBB pixels.
[[nodiscard]] double meanSquareError(std::span<const std::uint32_t> frame,
                                     std::span<const std::uint32_t> original, PixelSize size,
                                     const PixelRect& leftOut);

// Peak signal to noise ratio, in decibels.
[[nodiscard]] double psnrOf(double meanSquareError);

}  // namespace quorvin
