#pragma once

#include "platform/VideoEncoder.h"

namespace quorvin {

class MacVideoEncoder final : public VideoEncoder {
 public:
  MacVideoEncoder() = default;

  [[nodiscard]] CompressionSessionResult createSession(std::int32_t width, std::int32_t height,
                                                       VideoCodec codec,
                                                       const EncoderSpecification& specification,
                                                       CompressionOutput* output) override;
};

}  // namespace quorvin
