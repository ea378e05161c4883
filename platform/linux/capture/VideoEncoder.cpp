#include "platform/linux/capture/VideoEncoder.h"

namespace quorvin {

CompressionSessionResult LinuxVideoEncoder::createSession(
    std::int32_t /*width*/, std::int32_t /*height*/, VideoCodec /*codec*/,
    const EncoderSpecification& /*specification*/, CompressionOutput* /*output*/) {
  return {};
}

}  // namespace quorvin
