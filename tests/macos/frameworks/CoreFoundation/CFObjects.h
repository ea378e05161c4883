#pragma once

#include <CoreFoundation/CFBase.h>

// Types, references, booleans, numbers, texts, data and collections.

CF_ASSUME_NONNULL_BEGIN

CF_EXPORT const CFAllocatorRef _Nullable kCFAllocatorDefault;
CF_EXPORT const CFAllocatorRef kCFAllocatorNull;

CF_IMPLICIT_BRIDGING_ENABLED

CF_EXPORT CFTypeID CFGetTypeID(CFTypeRef object);
CF_EXPORT CFTypeRef CFRetain(CFTypeRef object);
CF_EXPORT void CFRelease(CFTypeRef object);
CF_EXPORT CFIndex CFGetRetainCount(CFTypeRef object);
CF_EXPORT Boolean CFEqual(CFTypeRef left, CFTypeRef right);

CF_EXPORT CFTypeID CFBooleanGetTypeID(void);
CF_EXPORT CFTypeID CFNumberGetTypeID(void);
CF_EXPORT CFTypeID CFStringGetTypeID(void);
CF_EXPORT CFTypeID CFDataGetTypeID(void);
CF_EXPORT CFTypeID CFArrayGetTypeID(void);
CF_EXPORT CFTypeID CFDictionaryGetTypeID(void);
CF_EXPORT CFTypeID CFNullGetTypeID(void);

CF_IMPLICIT_BRIDGING_DISABLED

// ---- booleans and numbers ----

CF_EXPORT const CFBooleanRef kCFBooleanTrue;
CF_EXPORT const CFBooleanRef kCFBooleanFalse;
CF_EXPORT const CFNullRef kCFNull;

typedef CF_ENUM(CFIndex, CFNumberType) {
  kCFNumberSInt8Type = 1,
  kCFNumberSInt16Type = 2,
  kCFNumberSInt32Type = 3,
  kCFNumberSInt64Type = 4,
  kCFNumberFloat32Type = 5,
  kCFNumberFloat64Type = 6,
  kCFNumberCharType = 7,
  kCFNumberShortType = 8,
  kCFNumberIntType = 9,
  kCFNumberLongType = 10,
  kCFNumberLongLongType = 11,
  kCFNumberFloatType = 12,
  kCFNumberDoubleType = 13,
  kCFNumberCFIndexType = 14,
  kCFNumberNSIntegerType = 15,
  kCFNumberCGFloatType = 16,
};

CF_IMPLICIT_BRIDGING_ENABLED

CF_EXPORT Boolean CFBooleanGetValue(CFBooleanRef boolean);
CF_EXPORT CFNumberRef CFNumberCreate(CFAllocatorRef _Nullable allocator, CFNumberType type,
                                     const void* value);
CF_EXPORT CFNumberType CFNumberGetType(CFNumberRef number);
CF_EXPORT Boolean CFNumberGetValue(CFNumberRef number, CFNumberType type, void* value);
CF_EXPORT Boolean CFNumberIsFloatType(CFNumberRef number);

CF_IMPLICIT_BRIDGING_DISABLED

// ---- texts ----

typedef UInt32 CFStringEncoding;
enum : CFStringEncoding { kCFStringEncodingUTF8 = 0x08000100 };

#define CFSTR(text) ((CFStringRef)__builtin___CFStringMakeConstantString("" text ""))

CF_IMPLICIT_BRIDGING_ENABLED

CF_EXPORT CFStringRef _Nullable CFStringCreateWithCString(CFAllocatorRef _Nullable allocator,
                                                          const char* text,
                                                          CFStringEncoding encoding);
CF_EXPORT CFIndex CFStringGetLength(CFStringRef text);
CF_EXPORT Boolean CFStringGetCString(CFStringRef text, char* buffer, CFIndex bufferSize,
                                     CFStringEncoding encoding);

// ---- data ----

CF_EXPORT CFDataRef CFDataCreate(CFAllocatorRef _Nullable allocator, const UInt8* _Nullable bytes,
                                 CFIndex length);
CF_EXPORT CFMutableDataRef CFDataCreateMutable(CFAllocatorRef _Nullable allocator,
                                               CFIndex capacity);
CF_EXPORT CFIndex CFDataGetLength(CFDataRef data);
CF_EXPORT const UInt8* _Nullable CFDataGetBytePtr(CFDataRef data);

CF_IMPLICIT_BRIDGING_DISABLED

// ---- collections ----

// Only the type callbacks below are known here: they retain, and compare with isEqual:.
typedef struct {
  CFIndex version;
  const void* _Nullable (*_Nullable retain)(CFAllocatorRef _Nullable allocator,
                                            const void* _Nullable value);
  void (*_Nullable release)(CFAllocatorRef _Nullable allocator, const void* _Nullable value);
  CFStringRef _Nullable (*_Nullable copyDescription)(const void* _Nullable value);
  Boolean (*_Nullable equal)(const void* _Nullable left, const void* _Nullable right);
} CFArrayCallBacks;
typedef struct {
  CFIndex version;
  const void* _Nullable (*_Nullable retain)(CFAllocatorRef _Nullable allocator,
                                            const void* _Nullable value);
  void (*_Nullable release)(CFAllocatorRef _Nullable allocator, const void* _Nullable value);
  CFStringRef _Nullable (*_Nullable copyDescription)(const void* _Nullable value);
  Boolean (*_Nullable equal)(const void* _Nullable left, const void* _Nullable right);
  CFHashCode (*_Nullable hash)(const void* _Nullable value);
} CFDictionaryKeyCallBacks;
typedef struct {
  CFIndex version;
  const void* _Nullable (*_Nullable retain)(CFAllocatorRef _Nullable allocator,
                                            const void* _Nullable value);
  void (*_Nullable release)(CFAllocatorRef _Nullable allocator, const void* _Nullable value);
  CFStringRef _Nullable (*_Nullable copyDescription)(const void* _Nullable value);
  Boolean (*_Nullable equal)(const void* _Nullable left, const void* _Nullable right);
} CFDictionaryValueCallBacks;

CF_EXPORT const CFArrayCallBacks kCFTypeArrayCallBacks;
CF_EXPORT const CFDictionaryKeyCallBacks kCFTypeDictionaryKeyCallBacks;
CF_EXPORT const CFDictionaryValueCallBacks kCFTypeDictionaryValueCallBacks;

CF_IMPLICIT_BRIDGING_ENABLED

CF_EXPORT CFArrayRef CFArrayCreate(CFAllocatorRef _Nullable allocator,
                                   const void* _Nullable* _Nullable values, CFIndex count,
                                   const CFArrayCallBacks* _Nullable callBacks);
CF_EXPORT CFMutableArrayRef CFArrayCreateMutable(CFAllocatorRef _Nullable allocator,
                                                 CFIndex capacity,
                                                 const CFArrayCallBacks* _Nullable callBacks);
CF_EXPORT CFIndex CFArrayGetCount(CFArrayRef array);
CF_EXPORT const void* _Nullable CFArrayGetValueAtIndex(CFArrayRef array, CFIndex index);
CF_EXPORT void CFArrayAppendValue(CFMutableArrayRef array, const void* _Nullable value);

CF_EXPORT CFDictionaryRef
CFDictionaryCreate(CFAllocatorRef _Nullable allocator, const void* _Nullable* _Nullable keys,
                   const void* _Nullable* _Nullable values, CFIndex count,
                   const CFDictionaryKeyCallBacks* _Nullable keyCallBacks,
                   const CFDictionaryValueCallBacks* _Nullable valueCallBacks);
CF_EXPORT CFMutableDictionaryRef
CFDictionaryCreateMutable(CFAllocatorRef _Nullable allocator, CFIndex capacity,
                          const CFDictionaryKeyCallBacks* _Nullable keyCallBacks,
                          const CFDictionaryValueCallBacks* _Nullable valueCallBacks);
CF_EXPORT CFIndex CFDictionaryGetCount(CFDictionaryRef dictionary);
CF_EXPORT Boolean CFDictionaryContainsKey(CFDictionaryRef dictionary, const void* _Nullable key);
CF_EXPORT const void* _Nullable CFDictionaryGetValue(CFDictionaryRef dictionary,
                                                     const void* _Nullable key);
CF_EXPORT void CFDictionarySetValue(CFMutableDictionaryRef dictionary, const void* _Nullable key,
                                    const void* _Nullable value);

CF_IMPLICIT_BRIDGING_DISABLED

CF_ASSUME_NONNULL_END
