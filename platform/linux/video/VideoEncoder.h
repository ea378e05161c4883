#pragma once

#include "platform/VideoEncoder.h"

namespace quorvin {

// H.264 in software. The request for hardware is not met: the encoders of graphics cards can be
// had with a bit rate, but not with a quantiser of one's own for each picture, without which a
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
