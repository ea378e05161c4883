#pragma once

#import <CoreMedia/CoreMedia.h>

#include "platform/VideoEncoder.h"

namespace quorvin {

// A view of a sample buffer that somebody else keeps alive: valid inside the callback it came with.
class MacEncodedSample final : public EncodedSample {
 public:
  explicit MacEncodedSample(CMSampleBufferRef sample) : sample(sample) {}

  [[nodiscard]] std::optional<std::vector<EncodedSampleAttachments>> attachments() const override;
  [[nodiscard]] std::optional<std::size_t> dataLength() const override;
  [[nodiscard]] EncoderStatus copyDataBytes(std::span<std::uint8_t> destination) const override;
  [[nodiscard]] bool hasFormatDescription() const override;
  [[nodiscard]] std::optional<std::span<const std::uint8_t>> h264ParameterSet(
      std::size_t index) const override;

 private:
  CMSampleBufferRef sample;
};

}  // namespace quorvin
