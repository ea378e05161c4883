#pragma once

#import <CoreFoundation/CoreFoundation.h>
#include <stddef.h>
#include <stdint.h>

typedef FourCharCode CMVideoCodecType;
enum : CMVideoCodecType {
  kCMVideoCodecType_H264 = 0x61766331,  // 'avc1'
};

enum : OSStatus {
  kCMFormatDescriptionError_InvalidParameter = -12710,
};

typedef const struct CF_BRIDGED_TYPE(id) opaqueCMFormatDescription* CMFormatDescriptionRef;
typedef CMFormatDescriptionRef CMVideoFormatDescriptionRef;

extern "C" {

// The bytes belong to the format description.
OSStatus CMVideoFormatDescriptionGetH264ParameterSetAtIndex(
    CMFormatDescriptionRef _Nonnull videoDesc, size_t parameterSetIndex,
    const uint8_t* _Nullable* _Nullable parameterSetPointerOut,
    size_t* _Nullable parameterSetSizeOut, size_t* _Nullable parameterSetCountOut,
    int* _Nullable NALUnitHeaderLengthOut);

// For what only runs on a Mac; the stand-ins have none of it.
OSStatus CMVideoFormatDescriptionCreateFromH264ParameterSets(
    CFAllocatorRef _Nullable allocator, size_t parameterSetCount,
    const uint8_t* _Nonnull const* _Nonnull parameterSetPointers,
    const size_t* _Nonnull parameterSetSizes, int NALUnitHeaderLength,
    CF_RETURNS_RETAINED CMFormatDescriptionRef _Nullable* _Nonnull formatDescriptionOut);

}  // extern "C"
