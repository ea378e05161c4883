#pragma once

#include "platform/VideoEncoder.h"

namespace quorvin::fakes {

// Has no encoder to offer.
class FakeVideoEncoder final : public VideoEncoder {
 public:
  EncoderStatus status = 0;

  CompressionSessionResult createSession(std::int32_t /*width*/, std::int32_t /*height*/,
                                         VideoCodec /*codec*/,
                                         const EncoderSpecification& /*specification*/,
                                         CompressionOutput* /*output*/) override {
    return {status, nullptr};
  }
};

}  // namespace quorvin::fakes
