#import <CoreVideo/CVPixelBuffer.h>

#import <CoreVideo/StandInPixelBuffer.h>

#include "tests/macos/standin/CallLog.h"

using standin::record;
using standin::violation;

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

CVReturn CVPixelBufferLockBaseAddress(CVPixelBufferRef pixelBuffer,
                                      CVPixelBufferLockFlags /*lockFlags*/) {
  record("CVPixelBufferLockBaseAddress");
  StandInPixelBuffer* buffer = [StandInPixelBuffer objectFor:pixelBuffer
                                                   operation:"CVPixelBufferLockBaseAddress"];
  [buffer lock];
  return buffer == nil ? kCVReturnInvalidArgument : kCVReturnSuccess;
}

CVReturn CVPixelBufferUnlockBaseAddress(CVPixelBufferRef pixelBuffer,
                                        CVPixelBufferLockFlags /*unlockFlags*/) {
  record("CVPixelBufferUnlockBaseAddress");
  StandInPixelBuffer* buffer = [StandInPixelBuffer objectFor:pixelBuffer
                                                   operation:"CVPixelBufferUnlockBaseAddress"];
  if ([buffer unlock]) return kCVReturnSuccess;
  if (buffer != nil) violation("CVPixelBufferUnlockBaseAddress without a lock");
  return kCVReturnInvalidArgument;
}

void* CVPixelBufferGetBaseAddress(CVPixelBufferRef pixelBuffer) {
  record("CVPixelBufferGetBaseAddress");
  StandInPixelBuffer* buffer = [StandInPixelBuffer objectFor:pixelBuffer
                                                   operation:"CVPixelBufferGetBaseAddress"];
  if (buffer == nil) return nullptr;
  if (buffer.isLocked) return buffer.bytes;
  violation("CVPixelBufferGetBaseAddress without a lock");
  return nullptr;
}

size_t CVPixelBufferGetBytesPerRow(CVPixelBufferRef pixelBuffer) {
  record("CVPixelBufferGetBytesPerRow");
  return [StandInPixelBuffer objectFor:pixelBuffer operation:"CVPixelBufferGetBytesPerRow"]
      .bytesPerRow;
}

size_t CVPixelBufferGetWidth(CVPixelBufferRef pixelBuffer) {
  record("CVPixelBufferGetWidth");
  return [StandInPixelBuffer objectFor:pixelBuffer operation:"CVPixelBufferGetWidth"].width;
}

size_t CVPixelBufferGetHeight(CVPixelBufferRef pixelBuffer) {
  record("CVPixelBufferGetHeight");
  return [StandInPixelBuffer objectFor:pixelBuffer operation:"CVPixelBufferGetHeight"].height;
}
