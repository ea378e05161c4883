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

// For what only runs on a Mac; the stand-ins have none of it.
enum : uint32_t { kCMBlockBufferAssureMemoryNowFlag = 1 };
OSStatus CMBlockBufferCreateWithMemoryBlock(
    CFAllocatorRef _Nullable allocator, void* _Nullable memoryBlock, size_t blockLength,
    CFAllocatorRef _Nullable blockAllocator, const void* _Nullable customBlockSource,
    size_t offsetToData, size_t dataLength, uint32_t flags,
    CF_RETURNS_RETAINED CMBlockBufferRef _Nullable* _Nonnull blockBufferOut);
OSStatus CMBlockBufferReplaceDataBytes(const void* _Nonnull sourceBytes,
                                       CMBlockBufferRef _Nonnull destinationBuffer,
                                       size_t offsetIntoDestination, size_t dataLength);

}  // extern "C"
