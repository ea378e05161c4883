#pragma once

#include <algorithm>

#include "platform/linux/video/PictureEncoder.h"
#include "platform/linux/video/VideoEncoderStatus.h"

namespace quorvin {

// An encoded picture as the seam hands it out. It has no attachments, as every picture can be
// decoded by itself. Valid for as long as the picture is.
class PictureSample final : public EncodedSample {
 public:
  explicit PictureSample(const EncodedPicture& picture) : picture(picture) {}

  [[nodiscard]] std::optional<std::vector<EncodedSampleAttachments>> attachments() const override {
    return {};
  }
  [[nodiscard]] std::optional<std::size_t> dataLength() const override {
    return picture.units.size();
  }
  [[nodiscard]] EncoderStatus copyDataBytes(std::span<std::uint8_t> destination) const override {
    if (destination.size() != picture.units.size()) {
      return statusOf(VideoEncoderStatus::invalidParameter);
    }
    std::ranges::copy(picture.units, destination.begin());
    return statusOf(VideoEncoderStatus::success);
  }
  [[nodiscard]] bool hasFormatDescription() const override { return true; }
  [[nodiscard]] std::optional<std::span<const std::uint8_t>> h264ParameterSet(
      std::size_t index) const override {
    if (index == 0) return picture.sequenceParameterSet;
    if (index == 1) return picture.pictureParameterSet;
    return {};
  }

 private:
  EncodedPicture picture;
};

}  // namespace quorvin
