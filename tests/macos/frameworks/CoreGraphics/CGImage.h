#pragma once

#import <CoreFoundation/CoreFoundation.h>

typedef struct CF_BRIDGED_TYPE(id) CGImage* CGImageRef;

extern "C" {

void CGImageRelease(CGImageRef _Nullable image);

}  // extern "C"
