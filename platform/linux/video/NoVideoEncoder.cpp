// In the place of the encoder, in a program that is built without one.

#include "platform/linux/video/VideoEncoder.h"

namespace quorvin {

CompressionSessionResult LinuxVideoEncoder::createSession(
    std::int32_t /*width*/, std::int32_t /*height*/, VideoCodec /*codec*/,
    const EncoderSpecification& /*specification*/, CompressionOutput* /*output*/) {
  return {statusOf(VideoEncoderStatus::notSupported), nullptr};
}

}  // namespace quorvin
