#pragma once

#import <CoreVideo/CoreVideo.h>
#import <Foundation/Foundation.h>

#include <cstddef>
#include <cstdint>

namespace standin {

struct Colour {
  std::uint8_t red = 0;
  std::uint8_t green = 0;
  std::uint8_t blue = 0;

  friend bool operator==(const Colour&, const Colour&) = default;
};

// A new CVPixelBuffer of 32BGRA pixels, opaque and of one colour. Cast with (__bridge
// CVPixelBufferRef).
id makePixelBuffer(std::size_t width, std::size_t height, Colour colour = {});
void setPixel(id pixelBuffer, std::size_t x, std::size_t y, Colour colour);

}  // namespace standin
