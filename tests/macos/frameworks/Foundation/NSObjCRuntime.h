#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <objc/NSObjCRuntime.h>

#if defined(__cplusplus)
#define FOUNDATION_EXTERN extern "C"
#else
#define FOUNDATION_EXTERN extern
#endif
#define FOUNDATION_EXPORT FOUNDATION_EXTERN
#define NS_INLINE static inline

#define NS_ASSUME_NONNULL_BEGIN _Pragma("clang assume_nonnull begin")
#define NS_ASSUME_NONNULL_END _Pragma("clang assume_nonnull end")

#define NS_ENUM(type, name) CF_ENUM(type, name)
#define NS_OPTIONS(type, name) CF_OPTIONS(type, name)
#define NS_ERROR_ENUM(domain, name) CF_ENUM(NSInteger, name)
#define NS_TYPED_ENUM
#define NS_TYPED_EXTENSIBLE_ENUM

#define NS_UNAVAILABLE __attribute__((unavailable))
#define NS_DESIGNATED_INITIALIZER __attribute__((objc_designated_initializer))
#define NS_RETURNS_INNER_POINTER __attribute__((objc_returns_inner_pointer))
#define NS_VALID_UNTIL_END_OF_SCOPE __attribute__((objc_precise_lifetime))
#define NS_NOESCAPE __attribute__((noescape))

NS_ASSUME_NONNULL_BEGIN

@class NSString;

FOUNDATION_EXPORT NSString* NSStringFromClass(Class aClass);
FOUNDATION_EXPORT Class _Nullable NSClassFromString(NSString* className);

NS_ASSUME_NONNULL_END
