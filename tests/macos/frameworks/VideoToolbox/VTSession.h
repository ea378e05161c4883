#pragma once

#import <CoreFoundation/CoreFoundation.h>

typedef CFTypeRef VTSessionRef;

CF_EXTERN_C_BEGIN
CF_IMPLICIT_BRIDGING_ENABLED

// NULL gives a property its default.
OSStatus VTSessionSetProperty(VTSessionRef _Nonnull session, CFStringRef _Nonnull propertyKey,
                              CFTypeRef _Nullable propertyValue);

CF_IMPLICIT_BRIDGING_DISABLED
CF_EXTERN_C_END
