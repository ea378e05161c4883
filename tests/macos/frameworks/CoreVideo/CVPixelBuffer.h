#pragma once

#import <CoreFoundation/CoreFoundation.h>
#include <stddef.h>
#include <stdint.h>

enum : OSType { kCVPixelFormatType_32BGRA = 0x42475241 };  // 'BGRA'

typedef struct CF_BRIDGED_TYPE(id) __CVBuffer* CVBufferRef;
typedef CVBufferRef CVImageBufferRef;
typedef CVImageBufferRef CVPixelBufferRef;

typedef int32_t CVReturn;
enum : CVReturn { kCVReturnSuccess = 0 };

typedef uint64_t CVOptionFlags;
typedef CF_OPTIONS(CVOptionFlags, CVPixelBufferLockFlags) { kCVPixelBufferLock_ReadOnly = 1 };

extern "C" {

CVPixelBufferRef _Nullable CVPixelBufferRetain(CVPixelBufferRef _Nullable texture);
void CVPixelBufferRelease(CVPixelBufferRef _Nullable texture);

size_t CVPixelBufferGetWidth(CVPixelBufferRef _Nonnull pixelBuffer);
size_t CVPixelBufferGetHeight(CVPixelBufferRef _Nonnull pixelBuffer);

// The caller owns the buffer. 32BGRA only.
CVReturn CVPixelBufferCreate(
    CFAllocatorRef _Nullable allocator, size_t width, size_t height, OSType pixelFormatType,
    CFDictionaryRef _Nullable pixelBufferAttributes,
    CF_RETURNS_RETAINED CVPixelBufferRef _Nullable* _Nonnull pixelBufferOut);
CVReturn CVPixelBufferLockBaseAddress(CVPixelBufferRef _Nonnull pixelBuffer,
                                      CVPixelBufferLockFlags lockFlags);
CVReturn CVPixelBufferUnlockBaseAddress(CVPixelBufferRef _Nonnull pixelBuffer,
                                        CVPixelBufferLockFlags unlockFlags);
void* _Nullable CVPixelBufferGetBaseAddress(CVPixelBufferRef _Nonnull pixelBuffer);
size_t CVPixelBufferGetBytesPerRow(CVPixelBufferRef _Nonnull pixelBuffer);

// For what only runs on a Mac; the stand-ins have none of it.
extern const CFStringRef _Nonnull kCVPixelBufferPixelFormatTypeKey;

}  // extern "C"
