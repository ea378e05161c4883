#pragma once

#include <memory>

#include "platform/ImageEncoder.h"

namespace quorvin {

// Writes JPEG with libjpeg-turbo: colours at half resolution (4:2:0), quality 1 to 100 as the
// factor in percent. Only frames that LinuxScreenCapture made can be rendered.
class LinuxImageEncoder final : public ImageEncoder {
 public:
  LinuxImageEncoder() = default;

  // There are no intermediates that could be kept: the compressor reads the captured pixels.
  [[nodiscard]] std::unique_ptr<ImageContext> makeContext(bool cacheIntermediates) override;
};

}  // namespace quorvin
