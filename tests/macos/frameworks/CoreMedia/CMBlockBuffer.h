#pragma once

#import <CoreFoundation/CoreFoundation.h>
#include <stddef.h>

typedef struct CF_BRIDGED_TYPE(id) OpaqueCMBlockBuffer* CMBlockBufferRef;

enum : OSStatus {
  kCMBlockBufferNoErr = 0,
  kCMBlockBufferBadOffsetParameterErr = -12703,
  kCMBlockBufferBadLengthParameterErr = -12704,
  kCMBlockBufferBadPointerParameterErr = -12705,
  kCMBlockBufferUnallocatedBlockErr = -12707,
};

extern "C" {

size_t CMBlockBufferGetDataLength(CMBlockBufferRef _Nonnull theBuffer);
// The length must not be 0. What is at the destination after a failure is undefined.
OSStatus CMBlockBufferCopyDataBytes(CMBlockBufferRef _Nonnull theSourceBuffer, size_t offsetToData,
                                    size_t dataLength, void* _Nonnull destination);

}  // extern "C"
