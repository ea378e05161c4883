#pragma once

#import <CoreFoundation/CoreFoundation.h>

CF_EXTERN_C_BEGIN

// Whether the process may control the computer, without and with what the options ask for. The
// options hold a CFBoolean: whether to ask the user.
Boolean AXIsProcessTrusted(void);
Boolean AXIsProcessTrustedWithOptions(CFDictionaryRef _Nullable options);
extern CFStringRef _Nonnull kAXTrustedCheckOptionPrompt;

CF_EXTERN_C_END
