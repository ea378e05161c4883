#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "platform/linux/frame/PixelRegion.h"

struct AVCodecContext;
struct AVFrame;

namespace quorvin {

// What a decoder says about a frame, and its planes without gaps between the rows.
struct DecodedFrame {
  PixelSize size;
  bool isKeyFrame = false;
  int profile = 0;    // as in the stream
  int primaries = 0;  // these as in ITU-T H.264, E.2.1
  int transfer = 0;
  int matrix = 0;
  bool isLimitedRange = false;
  std::vector<std::uint8_t> lumas;
  std::vector<std::uint8_t> blueChromas;  // of half the width and height, rounded up
  std::vector<std::uint8_t> redChromas;

  // As 0xRRGGBB, of BT.709 in limited range.
  [[nodiscard]] std::uint32_t colourAt(int x, int y) const;
};

// Somebody else's decoder, of one stream.
class H264Decoder {
 public:
  // Both throw std::runtime_error when the decoder complains of anything.
  H264Decoder();
  // An Annex-B byte stream of one frame; what comes out of it at once.
  [[nodiscard]] std::vector<DecodedFrame> decode(const std::vector<std::uint8_t>& payload);

  // The frames of a whole stream.
  [[nodiscard]] static std::vector<DecodedFrame> decodeAll(
      const std::vector<std::vector<std::uint8_t>>& payloads);

 private:
  struct Free {
    void operator()(AVCodecContext* context) const;
    void operator()(AVFrame* frame) const;
  };

  std::unique_ptr<AVCodecContext, Free> context;
  std::unique_ptr<AVFrame, Free> frame;
};

// Peak signal to noise ratio in decibels over lumas and chromas together, of two frames of the
// same size.
[[nodiscard]] double psnrOf(const DecodedFrame& frame, const DecodedFrame& original);

}  // namespace quorvin
