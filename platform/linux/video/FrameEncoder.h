#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <span>

#include "platform/linux/frame/CapturedFrame.h"
#include "platform/linux/video/H264Library.h"
#include "platform/linux/video/RateControl.h"
#include "platform/linux/video/YuvFrame.h"

namespace quorvin {

struct EncoderSettings {
  std::optional<std::int64_t> averageBitRate;  // bits a second; empty: as it comes
  int expectedRate = 30;                       // frames a second

  friend bool operator==(const EncoderSettings&, const EncoderSettings&) = default;
};

// Valid until the encoder is used again.
struct EncodedFrame {
  std::span<const std::uint8_t> units;  // each after its length as four bytes, big-endian
  std::span<const std::uint8_t> sequenceParameterSet;
  std::span<const std::uint8_t> pictureParameterSet;
};

// Encodes captured frames of one size within the budget, and requests a refresh of those that came
// out coarse. One thread at a time. Everything may throw std::bad_alloc.
class FrameEncoder {
 public:
  explicit FrameEncoder(PixelSize captured);

  void configure(const EncoderSettings& newSettings);
  // Nothing when the budget has no room for the frame, or the library failed.
  [[nodiscard]] std::optional<EncodedFrame> encode(const CapturedFrame& frame,
                                                   std::chrono::nanoseconds timeStamp);

 private:
  [[nodiscard]] std::span<const std::uint8_t> encodeWithinBudget(int qp);
  [[nodiscard]] std::size_t sizeAtReceiver(std::span<const std::uint8_t> units) const;

  EncoderSettings settings;
  YuvFrame converted;
  H264Library library;
  RateControl rateControl;
};

}  // namespace quorvin
