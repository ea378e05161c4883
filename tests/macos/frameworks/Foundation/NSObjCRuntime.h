#pragma once

#include <Availability.h>
#include <CoreFoundation/CoreFoundation.h>
#include <TargetConditionals.h>
#include <objc/NSObjCRuntime.h>
#include <stdarg.h>

#if defined(__cplusplus)
#define FOUNDATION_EXTERN extern "C"
#else
#define FOUNDATION_EXTERN extern
#endif
#define FOUNDATION_EXPORT FOUNDATION_EXTERN
#define NS_INLINE static inline

#define NS_ASSUME_NONNULL_BEGIN _Pragma("clang assume_nonnull begin")
#define NS_ASSUME_NONNULL_END _Pragma("clang assume_nonnull end")
#define NS_HEADER_AUDIT_BEGIN(...) _Pragma("clang assume_nonnull begin")
#define NS_HEADER_AUDIT_END(...) _Pragma("clang assume_nonnull end")

#define NS_ENUM(type, name) CF_ENUM(type, name)
#define NS_OPTIONS(type, name) CF_OPTIONS(type, name)
#define NS_CLOSED_ENUM(type, name) CF_ENUM(type, name)
#define NS_ERROR_ENUM(domain, name) CF_ENUM(NSInteger, name)
#define NS_TYPED_ENUM
#define NS_TYPED_EXTENSIBLE_ENUM
#define NS_STRING_ENUM
#define NS_EXTENSIBLE_STRING_ENUM

#define NS_UNAVAILABLE __attribute__((unavailable))
#define NS_DESIGNATED_INITIALIZER __attribute__((objc_designated_initializer))
#define NS_REQUIRES_SUPER __attribute__((objc_requires_super))
#define NS_REQUIRES_NIL_TERMINATION __attribute__((sentinel(0, 1)))
#define NS_RETURNS_RETAINED __attribute__((ns_returns_retained))
#define NS_RETURNS_NOT_RETAINED __attribute__((ns_returns_not_retained))
#define NS_RETURNS_INNER_POINTER __attribute__((objc_returns_inner_pointer))
#define NS_VALID_UNTIL_END_OF_SCOPE __attribute__((objc_precise_lifetime))
#define NS_NOESCAPE __attribute__((noescape))
#define NS_NORETURN __attribute__((noreturn))
#define NS_FORMAT_FUNCTION(text, first) __attribute__((format(__NSString__, text, first)))
#define NS_FORMAT_ARGUMENT(index) __attribute__((format_arg(index)))

// For Swift's importer only.
#define NS_SWIFT_NAME(name)
#define NS_SWIFT_UI_ACTOR
#define NS_SWIFT_NONISOLATED
#define NS_SWIFT_SENDABLE
#define NS_SWIFT_NONSENDABLE
#define NS_SWIFT_ASYNC(index)
#define NS_SWIFT_ASYNC_NAME(name)
#define NS_SWIFT_DISABLE_ASYNC
#define NS_SWIFT_UNAVAILABLE(text)
#define NS_SWIFT_UNAVAILABLE_FROM_ASYNC(text)
#define NS_SWIFT_BRIDGED_TYPEDEF
#define NS_SWIFT_NOTHROW
#define NS_REFINED_FOR_SWIFT

#if !defined(MIN)
#define MIN(a, b) ((a) < (b) ? (a) : (b))
#endif
#if !defined(MAX)
#define MAX(a, b) ((a) > (b) ? (a) : (b))
#endif

NS_ASSUME_NONNULL_BEGIN

@class NSString;

static const NSInteger NSNotFound = NSIntegerMax;

typedef double NSTimeInterval;

typedef NS_ENUM(NSInteger, NSComparisonResult) {
  NSOrderedAscending = -1L,
  NSOrderedSame,
  NSOrderedDescending,
};

typedef NS_ENUM(NSInteger, NSQualityOfService) {
  NSQualityOfServiceUserInteractive = 0x21,
  NSQualityOfServiceUserInitiated = 0x19,
  NSQualityOfServiceUtility = 0x11,
  NSQualityOfServiceBackground = 0x09,
  NSQualityOfServiceDefault = -1,
};

FOUNDATION_EXPORT NSString* NSStringFromSelector(SEL selector);
FOUNDATION_EXPORT SEL NSSelectorFromString(NSString* selectorName);
FOUNDATION_EXPORT NSString* NSStringFromClass(Class aClass);
FOUNDATION_EXPORT Class _Nullable NSClassFromString(NSString* className);
FOUNDATION_EXPORT void NSLog(NSString* format, ...) NS_FORMAT_FUNCTION(1, 2);

NS_ASSUME_NONNULL_END
