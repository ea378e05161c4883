#include "platform/linux/video/VideoEncoder.h"

#include <new>
#include <system_error>

#include "platform/linux/video/H264Library.h"
#include "platform/linux/video/VideoEncoderStatus.h"
#include "platform/linux/video/VideoSession.h"

namespace quorvin {

namespace {

CompressionSessionResult failure(VideoEncoderStatus status) {
  return {statusOf(status), nullptr};
}

}  // namespace

CompressionSessionResult LinuxVideoEncoder::createSession(
    std::int32_t width, std::int32_t height, VideoCodec codec,
    const EncoderSpecification& /*specification*/, CompressionOutput* output) {
  if (codec != VideoCodec::h264) return failure(VideoEncoderStatus::notSupported);
  const PixelSize size{width, height};
  if (output == nullptr || !H264Library::isEncodable(size)) {
    return failure(VideoEncoderStatus::invalidParameter);
  }
  try {
    return {statusOf(VideoEncoderStatus::success), std::make_unique<VideoSession>(size, *output)};
  } catch (const std::bad_alloc&) {
    return failure(VideoEncoderStatus::noResources);
  } catch (const std::system_error&) {
    return failure(VideoEncoderStatus::noResources);
  }
}

}  // namespace quorvin
