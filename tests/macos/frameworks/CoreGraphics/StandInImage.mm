#import <CoreGraphics/StandInImage.h>

#include <utility>

#import <CoreGraphics/LiveHandles.h>

namespace {

standin::LiveHandles& liveImages() {
  static standin::LiveHandles handles("CGImage");
  return handles;
}

}  // namespace

@implementation StandInImage {
  std::vector<std::uint8_t> _pixels;
}

+ (instancetype)objectFor:(CGImageRef)handle operation:(const char*)operation {
  if (!liveImages().check(handle, operation)) return nil;
  return (__bridge StandInImage*)handle;
}

- (instancetype)initWithWidth:(size_t)width
                       height:(size_t)height
                       pixels:(std::vector<std::uint8_t>)pixels {
  self = [super init];
  if (self) {
    _width = width;
    _height = height;
    _pixels = std::move(pixels);
    liveImages().add((__bridge void*)self);
  }
  return self;
}

- (void)dealloc {
  liveImages().remove((__bridge void*)self);
}

- (const std::uint8_t*)pixels {
  return _pixels.data();
}

@end

void CGImageRelease(CGImageRef image) {
  standin::record("CGImageRelease");
  if (image == nullptr) return;
  if ([StandInImage objectFor:image operation:"CGImageRelease"] == nil) return;
  CFRelease(image);
}
