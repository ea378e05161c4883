#pragma once

#import <CoreFoundation/CoreFoundation.h>
#include <stddef.h>
#include <stdint.h>

typedef int32_t CVReturn;
enum : CVReturn {
  kCVReturnSuccess = 0,
  kCVReturnInvalidArgument = -6661,
};

typedef uint64_t CVOptionFlags;
typedef CF_OPTIONS(CVOptionFlags, CVPixelBufferLockFlags) {
  kCVPixelBufferLock_ReadOnly = 0x00000001,
};

enum : OSType { kCVPixelFormatType_32BGRA = 0x42475241 };  // 'BGRA'

typedef struct CF_BRIDGED_TYPE(id) __CVBuffer* CVBufferRef;
typedef CVBufferRef CVImageBufferRef;
typedef CVImageBufferRef CVPixelBufferRef;

extern "C" {

CVPixelBufferRef _Nullable CVPixelBufferRetain(CVPixelBufferRef _Nullable texture);
void CVPixelBufferRelease(CVPixelBufferRef _Nullable texture);

CVReturn CVPixelBufferLockBaseAddress(CVPixelBufferRef _Nonnull pixelBuffer,
                                      CVPixelBufferLockFlags lockFlags);
CVReturn CVPixelBufferUnlockBaseAddress(CVPixelBufferRef _Nonnull pixelBuffer,
                                        CVPixelBufferLockFlags unlockFlags);
// The address is only there while it is locked.
void* _Nullable CVPixelBufferGetBaseAddress(CVPixelBufferRef _Nonnull pixelBuffer);
size_t CVPixelBufferGetBytesPerRow(CVPixelBufferRef _Nonnull pixelBuffer);
size_t CVPixelBufferGetWidth(CVPixelBufferRef _Nonnull pixelBuffer);
size_t CVPixelBufferGetHeight(CVPixelBufferRef _Nonnull pixelBuffer);

}  // extern "C"
