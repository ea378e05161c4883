#import "platform/macos/ImageEncoder.h"

#import <AppKit/AppKit.h>
#import <CoreGraphics/CoreGraphics.h>
#import <CoreImage/CoreImage.h>

#include <cstdint>
#include <span>

#import "platform/macos/CaptureSample.h"

namespace quorvin {
namespace {

struct ReleaseImage {
  void operator()(CGImageRef image) const { CGImageRelease(image); }
};
using BitmapImage = std::unique_ptr<CGImage, ReleaseImage>;

// Keeps the file's storage and hands it out as it is, without a copy.
Data toData(NSData* file) {
  const std::span<const std::uint8_t> bytes(static_cast<const std::uint8_t*>(file.bytes),
                                            file.length);
  const std::shared_ptr<const void> owner((__bridge_retained void*)file, CFRelease);
  return {owner, bytes};
}

class MacImageContext final : public ImageContext {
 public:
  explicit MacImageContext(bool cacheIntermediates)
      : context([CIContext contextWithOptions:
                               @{kCIContextCacheIntermediates : @(cacheIntermediates)}]) {}

  [[nodiscard]] std::optional<Data> jpegRepresentation(const PixelBuffer& frame,
                                                       double compressionFactor) override {
    const auto* captured = dynamic_cast<const MacPixelBuffer*>(&frame);
    if (captured == nullptr) return {};
    @autoreleasepool {
      NSData* file = jpegFile(captured->pixelBuffer(), compressionFactor);
      if (file == nil) return {};
      return toData(file);
    }
  }

 private:
  [[nodiscard]] NSData* jpegFile(CVPixelBufferRef frame, double compressionFactor) const {
    CIImage* image = [[CIImage alloc] initWithCVPixelBuffer:frame];
    if (image == nil) return nil;
    const BitmapImage rendered([context createCGImage:image fromRect:image.extent]);
    if (rendered == nullptr) return nil;
    NSBitmapImageRep* bitmap = [[NSBitmapImageRep alloc] initWithCGImage:rendered.get()];
    return [bitmap representationUsingType:NSBitmapImageFileTypeJPEG
                                properties:@{
                                  NSImageCompressionFactor : @(compressionFactor)
                                }];
  }

  CIContext* context;
};

}  // namespace

std::unique_ptr<ImageContext> MacImageEncoder::makeContext(bool cacheIntermediates) {
  return std::make_unique<MacImageContext>(cacheIntermediates);
}

}  // namespace quorvin
