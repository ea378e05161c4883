#pragma once

#import <CoreFoundation/CoreFoundation.h>

CF_EXTERN_C_BEGIN

extern const CFStringRef _Nonnull kVTCompressionPropertyKey_RealTime;                  // CFBoolean
extern const CFStringRef _Nonnull kVTCompressionPropertyKey_AllowFrameReordering;      // CFBoolean
extern const CFStringRef _Nonnull kVTCompressionPropertyKey_AllowTemporalCompression;  // CFBoolean
extern const CFStringRef _Nonnull kVTCompressionPropertyKey_ProfileLevel;              // CFString
extern const CFStringRef _Nonnull kVTCompressionPropertyKey_ExpectedFrameRate;    // CFNumber, 1/s
extern const CFStringRef _Nonnull kVTCompressionPropertyKey_AverageBitRate;       // CFNumber, bit/s
extern const CFStringRef _Nonnull kVTCompressionPropertyKey_MaxKeyFrameInterval;  // CFNumber,
                                                                                  // frames

extern const CFStringRef _Nonnull kVTProfileLevel_H264_Main_AutoLevel;

// CFBoolean, in the encoder specification.
extern const CFStringRef _Nonnull kVTVideoEncoderSpecification_EnableHardwareAcceleratedVideoEncoder;

CF_EXTERN_C_END
