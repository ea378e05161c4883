#pragma once

#import <CoreFoundation/CoreFoundation.h>

typedef FourCharCode CMVideoCodecType;
enum : CMVideoCodecType {
  kCMVideoCodecType_H264 = 0x61766331,  // 'avc1'
};
