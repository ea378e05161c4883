#import <CoreVideo/StandInPixelBuffer.h>

#include <vector>

#import <CoreGraphics/LiveHandles.h>
#import <CoreVideo/CoreVideoControl.h>

namespace {

constexpr std::size_t bytesPerPixel = 4;
// Surfaces of the real system are aligned too, so that a row is rarely as long as its pixels.
constexpr std::size_t rowAlignment = 64;

std::size_t paddedRow(std::size_t width) {
  return (width * bytesPerPixel / rowAlignment + 1) * rowAlignment;
}

standin::LiveHandles& liveBuffers() {
  static standin::LiveHandles handles("CVPixelBuffer");
  return handles;
}

}  // namespace

@implementation StandInPixelBuffer {
  std::vector<std::uint8_t> _memory;
  std::shared_ptr<const void> _lifetime;
}

+ (instancetype)objectFor:(CVPixelBufferRef)handle operation:(const char*)operation {
  if (!liveBuffers().check(handle, operation)) return nil;
  return (__bridge StandInPixelBuffer*)handle;
}

- (instancetype)initWithWidth:(size_t)width height:(size_t)height {
  self = [super init];
  if (self) {
    _width = width;
    _height = height;
    _bytesPerRow = paddedRow(width);
    _memory.resize(_bytesPerRow * height);
    _lifetime = std::make_shared<int>();
    liveBuffers().add((__bridge void*)self);
  }
  return self;
}

- (void)dealloc {
  liveBuffers().remove((__bridge void*)self);
}

- (std::uint8_t*)bytes {
  return _memory.data();
}

- (std::uint8_t*)pixelAtX:(size_t)x y:(size_t)y {
  return _memory.data() + y * _bytesPerRow + x * bytesPerPixel;
}

- (std::weak_ptr<const void>)lifetime {
  return _lifetime;
}

@end

namespace standin {

namespace {

void write(Colour colour, std::uint8_t* pixel) {
  pixel[0] = colour.blue;
  pixel[1] = colour.green;
  pixel[2] = colour.red;
  pixel[3] = 0xFF;
}

}  // namespace

id makePixelBuffer(std::size_t width, std::size_t height, Colour colour) {
  StandInPixelBuffer* buffer = [[StandInPixelBuffer alloc] initWithWidth:width height:height];
  for (std::size_t y = 0; y < height; ++y) {
    std::uint8_t* row = buffer.bytes + y * buffer.bytesPerRow;
    for (std::size_t x = 0; x < width; ++x) write(colour, row + x * bytesPerPixel);
  }
  return buffer;
}

void setPixel(id pixelBuffer, std::size_t x, std::size_t y, Colour colour) {
  write(colour, [static_cast<StandInPixelBuffer*>(pixelBuffer) pixelAtX:x y:y]);
}

}  // namespace standin
