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
  notEncodable = 5,      // a picture of another size, or not one of this back end's
};

[[nodiscard]] constexpr EncoderStatus statusOf(VideoEncoderStatus status) {
  return static_cast<EncoderStatus>(status);
}

}  // namespace quorvin
