#pragma once

#include <memory>
#include <optional>

#include "platform/Data.h"
#include "platform/Interface.h"
#include "platform/ScreenCapture.h"

namespace quorvin {

// Renders and encodes frames; reused for all of a capture. One thread at a time.
class ImageContext : public Interface {
 public:
  // A complete JPEG file (ITU-T T.81, from FF D8 to FF D9) of the whole frame; nothing when it
  // cannot be rendered or encoded. `compressionFactor` is 0.0 (smallest) to 1.0 (best). All
  // temporary objects of the call are released when it returns.
  [[nodiscard]] virtual std::optional<Data> jpegRepresentation(const PixelBuffer& frame,
                                                               double compressionFactor) = 0;
};

class ImageEncoder : public Interface {
 public:
  [[nodiscard]] virtual std::unique_ptr<ImageContext> makeContext(bool cacheIntermediates) = 0;
};

}  // namespace quorvin
