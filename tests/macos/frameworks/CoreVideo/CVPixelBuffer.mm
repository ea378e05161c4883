#import <CoreVideo/CVPixelBuffer.h>

#import <CoreVideo/StandInPixelBuffer.h>

#include "tests/macos/standin/CallLog.h"

using standin::record;

CVPixelBufferRef CVPixelBufferRetain(CVPixelBufferRef texture) {
  record("CVPixelBufferRetain");
  if (texture == nullptr) return nullptr;
  if ([StandInPixelBuffer objectFor:texture operation:"CVPixelBufferRetain"] == nil) return nullptr;
  return static_cast<CVPixelBufferRef>(const_cast<void*>(CFRetain(texture)));
}

void CVPixelBufferRelease(CVPixelBufferRef texture) {
  record("CVPixelBufferRelease");
  if (texture == nullptr) return;
  if ([StandInPixelBuffer objectFor:texture operation:"CVPixelBufferRelease"] == nil) return;
  CFRelease(texture);
}

size_t CVPixelBufferGetWidth(CVPixelBufferRef pixelBuffer) {
  record("CVPixelBufferGetWidth");
  return [StandInPixelBuffer objectFor:pixelBuffer operation:"CVPixelBufferGetWidth"].width;
}

size_t CVPixelBufferGetHeight(CVPixelBufferRef pixelBuffer) {
  record("CVPixelBufferGetHeight");
  return [StandInPixelBuffer objectFor:pixelBuffer operation:"CVPixelBufferGetHeight"].height;
}

CVReturn CVPixelBufferCreate(CFAllocatorRef /*allocator*/, size_t width, size_t height,
                             OSType pixelFormatType, CFDictionaryRef /*pixelBufferAttributes*/,
                             CVPixelBufferRef* pixelBufferOut) {
  if (pixelFormatType != kCVPixelFormatType_32BGRA) standin::violation("no buffer of 32BGRA");
  StandInPixelBuffer* buffer = [[StandInPixelBuffer alloc] initWithWidth:width height:height];
  *pixelBufferOut = (__bridge_retained CVPixelBufferRef)buffer;
  return kCVReturnSuccess;
}

CVReturn CVPixelBufferLockBaseAddress(CVPixelBufferRef /*pixelBuffer*/,
                                      CVPixelBufferLockFlags /*lockFlags*/) {
  return kCVReturnSuccess;
}

CVReturn CVPixelBufferUnlockBaseAddress(CVPixelBufferRef /*pixelBuffer*/,
                                        CVPixelBufferLockFlags /*unlockFlags*/) {
  return kCVReturnSuccess;
}

void* CVPixelBufferGetBaseAddress(CVPixelBufferRef pixelBuffer) {
  return [StandInPixelBuffer objectFor:pixelBuffer operation:"CVPixelBufferGetBaseAddress"].bytes;
}

size_t CVPixelBufferGetBytesPerRow(CVPixelBufferRef pixelBuffer) {
  return [StandInPixelBuffer objectFor:pixelBuffer operation:"CVPixelBufferGetBytesPerRow"]
      .bytesPerRow;
}
