#import "platform/macos/VideoEncoder.h"

namespace quorvin {

CompressionSessionResult MacVideoEncoder::createSession(
    std::int32_t /*width*/, std::int32_t /*height*/, VideoCodec /*codec*/,
    const EncoderSpecification& /*specification*/, CompressionOutput* /*output*/) {
  return {};
}

}  // namespace quorvin
