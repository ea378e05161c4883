#pragma once

#include "platform/VideoEncoder.h"

namespace quorvin {

// What the encoder of this back end answers.
enum class VideoEncoderStatus : EncoderStatus {
  success = 0,
  notSupported = 1,      // a codec or property that this encoder does not have
  invalidParameter = 2,  // a value that makes no sense
  noResources = 3,       // the system has no memory or thread left
  ended = 4,             // the session has been invalidated
  notEncodable = 5,      // a frame of another size, or not one of this back end's
};

[[nodiscard]] constexpr EncoderStatus statusOf(VideoEncoderStatus status) {
  return static_cast<EncoderStatus>(status);
}

// H.264 in software. The request for hardware is not met: the encoders of graphics cards can be
// had with a bit rate, but not with a QP of one's own for each frame, without which a
// budget cannot follow time stamps.
class LinuxVideoEncoder final : public VideoEncoder {
 public:
  LinuxVideoEncoder() = default;

  [[nodiscard]] CompressionSessionResult createSession(std::int32_t width, std::int32_t height,
                                                       VideoCodec codec,
                                                       const EncoderSpecification& specification,
                                                       CompressionOutput* output) override;
};

}  // namespace quorvin
