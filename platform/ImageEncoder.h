#pragma once

#include <memory>
#include <optional>

#include "platform/Data.h"
#include "platform/ScreenCapture.h"

namespace quorvin {

// Renders and encodes pictures; reused for every frame of a capture. One thread at a time.
class ImageContext {
 public:
  ImageContext(const ImageContext&) = delete;
  ImageContext& operator=(const ImageContext&) = delete;
  virtual ~ImageContext() = default;

  // A complete JPEG file (ITU-T T.81, from FF D8 to FF D9) of the whole picture; nothing when it
  // cannot be rendered or encoded. `compressionFactor` is 0.0 (smallest) to 1.0 (best). All
  // temporary objects of the call are released when it returns.
  [[nodiscard]] virtual std::optional<Data> jpegRepresentation(const PixelBuffer& picture,
                                                               double compressionFactor) = 0;

 protected:
  ImageContext() = default;
};

class ImageEncoder {
 public:
  ImageEncoder(const ImageEncoder&) = delete;
  ImageEncoder& operator=(const ImageEncoder&) = delete;
  virtual ~ImageEncoder() = default;

  [[nodiscard]] virtual std::unique_ptr<ImageContext> makeContext(bool cacheIntermediates) = 0;

 protected:
  ImageEncoder() = default;
};

}  // namespace quorvin
