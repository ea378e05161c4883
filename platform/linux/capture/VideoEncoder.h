#pragma once

#include "platform/VideoEncoder.h"

namespace quorvin {

class LinuxVideoEncoder final : public VideoEncoder {
 public:
  LinuxVideoEncoder() = default;

  [[nodiscard]] CompressionSessionResult createSession(std::int32_t width, std::int32_t height,
                                                       VideoCodec codec,
                                                       const EncoderSpecification& specification,
                                                       CompressionOutput* output) override;
};

}  // namespace quorvin
