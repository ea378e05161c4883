#pragma once

#include "platform/VideoEncoder.h"

namespace quorvin {

// Video Toolbox. Only frames of MacScreenCapture can be encoded. Any thread.
class MacVideoEncoder final : public VideoEncoder {
 public:
  MacVideoEncoder() = default;

  [[nodiscard]] CompressionSessionResult createSession(std::int32_t width, std::int32_t height,
                                                       VideoCodec codec,
                                                       const EncoderSpecification& specification,
                                                       CompressionOutput* output) override;
};

}  // namespace quorvin
