#pragma once

#import <CoreFoundation/CoreFoundation.h>

enum : OSStatus {
  kVTPropertyNotSupportedErr = -12900,
  kVTParameterErr = -12902,
  kVTInvalidSessionErr = -12903,
  kVTCouldNotFindVideoEncoderErr = -12908,
  kVTVideoEncoderMalfunctionErr = -12912,
};

typedef CF_OPTIONS(UInt32, VTEncodeInfoFlags) {
  kVTEncodeInfo_Asynchronous = 1UL << 0,
  kVTEncodeInfo_FrameDropped = 1UL << 1,
};
