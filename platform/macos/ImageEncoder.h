#pragma once

#include "platform/ImageEncoder.h"

namespace quorvin {

// JPEG files by Core Image and AppKit. Only frames of MacScreenCapture can be encoded.
class MacImageEncoder final : public ImageEncoder {
 public:
  [[nodiscard]] std::unique_ptr<ImageContext> makeContext(bool cacheIntermediates) override;
};

}  // namespace quorvin
