#pragma once

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

// The language's own names. `id`, `Class` and `SEL` are known to the compiler.
#if defined(__cplusplus)
#define OBJC_EXPORT extern "C"
#else
#define OBJC_EXPORT extern
#endif

#if defined(__APPLE__) && !__OBJC_BOOL_IS_BOOL
typedef signed char BOOL;  // on Intel
#else
typedef bool BOOL;
#endif
#define YES __objc_yes
#define NO __objc_no

#if defined(__cplusplus)
#define nil nullptr
#define Nil nullptr
#else
#define nil ((void*)0)
#define Nil ((void*)0)
#endif

OBJC_EXPORT const char* _Nonnull sel_getName(SEL _Nonnull selector);
