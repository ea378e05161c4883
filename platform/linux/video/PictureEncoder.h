#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <span>

#include "platform/linux/frame/CapturedPixelBuffer.h"
#include "platform/linux/video/H264Library.h"
#include "platform/linux/video/RateControl.h"
#include "platform/linux/video/YuvPicture.h"

namespace quorvin {

struct EncoderSettings {
  std::optional<std::int64_t> averageBitRate;  // bits a second; empty: as it comes
  int expectedRate = 30;                       // pictures a second

  friend bool operator==(const EncoderSettings&, const EncoderSettings&) = default;
};

// Valid until the encoder is used again.
struct EncodedPicture {
  std::span<const std::uint8_t> units;  // each after its length as four bytes, big-endian
  std::span<const std::uint8_t> sequenceParameterSet;
  std::span<const std::uint8_t> pictureParameterSet;
};

// Turns captured pictures of one size into encoded ones within the budget, and asks the stream for
// a picture once more that came out coarse. One thread at a time. Everything may throw
// std::bad_alloc.
class PictureEncoder {
 public:
  explicit PictureEncoder(PixelSize captured);

  void configure(const EncoderSettings& newSettings);
  // Nothing when the budget has no room for the picture, or the library failed.
  [[nodiscard]] std::optional<EncodedPicture> encode(const CapturedPixelBuffer& picture,
                                                     std::chrono::nanoseconds timeStamp);

 private:
  [[nodiscard]] std::span<const std::uint8_t> encodeWithinBudget(int quantiser);
  [[nodiscard]] std::size_t sizeAtReceiver(std::span<const std::uint8_t> units) const;

  EncoderSettings settings;
  YuvPicture converted;
  H264Library library;
  RateControl rateControl;
};

}  // namespace quorvin
