#pragma once

#import <CoreFoundation/CoreFoundation.h>

typedef const struct CF_BRIDGED_TYPE(id) __SCDynamicStore* SCDynamicStoreRef;

CF_EXTERN_C_BEGIN
CF_ASSUME_NONNULL_BEGIN
CF_IMPLICIT_BRIDGING_ENABLED

// The caller owns the name. Any thread.
CFStringRef _Nullable SCDynamicStoreCopyComputerName(SCDynamicStoreRef _Nullable store,
                                                     CFStringEncoding* _Nullable nameEncoding);

CF_IMPLICIT_BRIDGING_DISABLED
CF_ASSUME_NONNULL_END
CF_EXTERN_C_END
