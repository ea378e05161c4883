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
