#pragma once

#include <CoreFoundation/CFBase.h>

// Types, references, booleans, numbers and texts.

CF_ASSUME_NONNULL_BEGIN

CF_EXPORT const CFAllocatorRef _Nullable kCFAllocatorDefault;

CF_IMPLICIT_BRIDGING_ENABLED

CF_EXPORT CFTypeID CFGetTypeID(CFTypeRef object);
CF_EXPORT CFTypeRef CFRetain(CFTypeRef object);
CF_EXPORT void CFRelease(CFTypeRef object);

CF_EXPORT CFTypeID CFBooleanGetTypeID(void);
CF_EXPORT CFTypeID CFNumberGetTypeID(void);
CF_EXPORT CFTypeID CFStringGetTypeID(void);

CF_IMPLICIT_BRIDGING_DISABLED

// ---- booleans and numbers ----

CF_EXPORT const CFBooleanRef kCFBooleanTrue;
CF_EXPORT const CFBooleanRef kCFBooleanFalse;

// Those that CFNumberGetType answers here.
typedef CF_ENUM(CFIndex, CFNumberType) {
  kCFNumberSInt32Type = 3,
  kCFNumberSInt64Type = 4,
  kCFNumberFloat64Type = 6,
};

CF_IMPLICIT_BRIDGING_ENABLED

CF_EXPORT Boolean CFBooleanGetValue(CFBooleanRef boolean);
CF_EXPORT CFNumberType CFNumberGetType(CFNumberRef number);
CF_EXPORT Boolean CFNumberIsFloatType(CFNumberRef number);

CF_IMPLICIT_BRIDGING_DISABLED

// ---- the run loop ----

typedef double CFTimeInterval;
typedef CFStringRef CFRunLoopMode;
typedef CF_ENUM(SInt32, CFRunLoopRunResult) { kCFRunLoopRunTimedOut = 3 };

CF_EXPORT const CFRunLoopMode kCFRunLoopDefaultMode;
// Main thread. Moves the virtual clock by so many seconds and serves what falls due.
CF_EXPORT CFRunLoopRunResult CFRunLoopRunInMode(CFRunLoopMode mode, CFTimeInterval seconds,
                                                Boolean returnAfterSourceHandled);

// ---- texts ----

typedef UInt32 CFStringEncoding;

#define CFSTR(text) ((CFStringRef)__builtin___CFStringMakeConstantString("" text ""))

CF_ASSUME_NONNULL_END
