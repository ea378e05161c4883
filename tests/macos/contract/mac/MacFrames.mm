#import "tests/macos/contract/mac/MacFrames.h"
#include "tests/contract/ForeignPixelBuffer.h"

#include <cstdint>
#include <stdexcept>

#import "platform/macos/CaptureSample.h"

namespace quorvin::contract {
namespace {

CVPixelBufferRef makeBuffer(const FrameSize& size) {
  CVPixelBufferRef buffer = nullptr;
  if (CVPixelBufferCreate(kCFAllocatorDefault, size.width, size.height, kCVPixelFormatType_32BGRA,
                          nullptr, &buffer) != kCVReturnSuccess) {
    throw std::runtime_error("no pixel buffer");
  }
  return buffer;
}

void fill(CVPixelBufferRef buffer, const FrameSize& size, const ColourAt& colourAt) {
  CVPixelBufferLockBaseAddress(buffer, 0);
  auto* const first = static_cast<std::uint8_t*>(CVPixelBufferGetBaseAddress(buffer));
  for (std::size_t y = 0; y < size.height; ++y) {
    std::uint8_t* pixel = first + y * CVPixelBufferGetBytesPerRow(buffer);
    for (std::size_t x = 0; x < size.width; ++x) {
      const auto colour = colourAt(x, y);
      *pixel++ = colour.blue;
      *pixel++ = colour.green;
      *pixel++ = colour.red;
      *pixel++ = 0xFF;
    }
  }
  CVPixelBufferUnlockBaseAddress(buffer, 0);
}

}  // namespace

std::shared_ptr<PixelBuffer> makeMacFrame(const FrameSize& size, const ColourAt& colourAt) {
  CVPixelBufferRef buffer = makeBuffer(size);
  fill(buffer, size, colourAt);
  auto frame = std::make_shared<MacPixelBuffer>(buffer);
  CVPixelBufferRelease(buffer);
  return frame;
}

std::shared_ptr<PixelBuffer> makeForeignFrame(const FrameSize& size) {
  return std::make_shared<ForeignPixelBuffer>(size);
}

DecodedFrame readFrame(CVPixelBufferRef frame) {
  DecodedFrame read{{CVPixelBufferGetWidth(frame), CVPixelBufferGetHeight(frame)}, {}};
  CVPixelBufferLockBaseAddress(frame, kCVPixelBufferLock_ReadOnly);
  const auto* const first = static_cast<const std::uint8_t*>(CVPixelBufferGetBaseAddress(frame));
  for (std::size_t y = 0; y < read.size.height; ++y) {
    const std::uint8_t* pixel = first + y * CVPixelBufferGetBytesPerRow(frame);
    for (std::size_t x = 0; x < read.size.width; ++x, pixel += 4) {
      read.pixels.push_back({.red = pixel[2], .green = pixel[1], .blue = pixel[0]});
    }
  }
  CVPixelBufferUnlockBaseAddress(frame, kCVPixelBufferLock_ReadOnly);
  return read;
}

}  // namespace quorvin::contract
