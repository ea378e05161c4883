#pragma once

#import <CoreFoundation/CoreFoundation.h>
#include <stddef.h>
#include <stdint.h>

enum : OSType { kCVPixelFormatType_32BGRA = 0x42475241 };  // 'BGRA'

typedef struct CF_BRIDGED_TYPE(id) __CVBuffer* CVBufferRef;
typedef CVBufferRef CVImageBufferRef;
typedef CVImageBufferRef CVPixelBufferRef;

extern "C" {

CVPixelBufferRef _Nullable CVPixelBufferRetain(CVPixelBufferRef _Nullable texture);
void CVPixelBufferRelease(CVPixelBufferRef _Nullable texture);

size_t CVPixelBufferGetWidth(CVPixelBufferRef _Nonnull pixelBuffer);
size_t CVPixelBufferGetHeight(CVPixelBufferRef _Nonnull pixelBuffer);

}  // extern "C"
