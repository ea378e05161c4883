#pragma once

#include <memory>

#include "platform/ImageEncoder.h"
#include "tests/contract/CaptureRecorders.h"
#include "tests/contract/Contract.h"
#include "tests/contract/DecodedFrame.h"

namespace quorvin::contract {

// An encoder with frames that it can encode.
class ImageEncoderWorld {
 public:
  ImageEncoderWorld() = default;
  ImageEncoderWorld(const ImageEncoderWorld&) = delete;
  ImageEncoderWorld& operator=(const ImageEncoderWorld&) = delete;
  virtual ~ImageEncoderWorld() = default;

  virtual ImageEncoder& imageEncoder() = 0;
  virtual std::shared_ptr<PixelBuffer> frame(const FrameSize& size, const ColourAt& colourAt) = 0;
  // One that cannot be encoded; the world is good for nothing else then.
  virtual std::shared_ptr<PixelBuffer> unusableFrame() = 0;
  // What another decoder makes of a file, which must be a sound one.
  virtual DecodedFrame decode(const Data& file) = 0;
};

class ImageEncoderContract : public Contract<ImageEncoderWorld> {
 protected:
  std::shared_ptr<PixelBuffer> plainFrame(const FrameSize& size, Colour colour);
  // With so much detail that it does not compress away.
  std::shared_ptr<PixelBuffer> busyFrame(const FrameSize& size);

  std::unique_ptr<ImageContext> context =
      world->imageEncoder().makeContext(/*cacheIntermediates=*/false);
};

// What can be said of files that are real JPEG files.
class JpegContract : public ImageEncoderContract {};

}  // namespace quorvin::contract
