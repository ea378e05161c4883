#pragma once

#include <stddef.h>
#include <stdint.h>
#include <sys/qos.h>
#include <time.h>

#import <objc/NSObject.h>

// Grand Central Dispatch. Its objects are Objective-C objects, typed by protocols.
#define DISPATCH_EXPORT OBJC_EXPORT
#define DISPATCH_RETURNS_RETAINED __attribute__((ns_returns_retained))
// clang-format off
#define QUORVIN_DISPATCH_DECL(name, base) \
  @protocol OS_##name <OS_##base>         \
  @end                                    \
  typedef NSObject<OS_##name>* name##_t
// clang-format on

#pragma clang assume_nonnull begin

@protocol OS_dispatch_object <NSObject>
@end
typedef NSObject<OS_dispatch_object>* dispatch_object_t;

// clang-format off
QUORVIN_DISPATCH_DECL(dispatch_queue, dispatch_object);
QUORVIN_DISPATCH_DECL(dispatch_queue_global, dispatch_queue);
QUORVIN_DISPATCH_DECL(dispatch_queue_serial, dispatch_queue);
QUORVIN_DISPATCH_DECL(dispatch_queue_main, dispatch_queue_serial);
QUORVIN_DISPATCH_DECL(dispatch_queue_attr, dispatch_object);
QUORVIN_DISPATCH_DECL(dispatch_source, dispatch_object);
// clang-format on

typedef void (^dispatch_block_t)(void);
typedef void (*dispatch_function_t)(void* _Nullable context);
typedef qos_class_t dispatch_qos_class_t;

// ---- time ----

// An opaque instant. On Apple silicon its unit is not the nanosecond, and it is not here either, so
// that code which takes one for the other fails.
typedef uint64_t dispatch_time_t;

#define DISPATCH_TIME_NOW (0ull)
#define DISPATCH_TIME_FOREVER (~0ull)

DISPATCH_EXPORT dispatch_time_t dispatch_time(dispatch_time_t when, int64_t delta);

// ---- queues ----

#define DISPATCH_QUEUE_SERIAL NULL
#define DISPATCH_CURRENT_QUEUE_LABEL NULL

DISPATCH_EXPORT dispatch_queue_main_t dispatch_get_main_queue(void);
DISPATCH_EXPORT dispatch_queue_global_t dispatch_get_global_queue(intptr_t identifier,
                                                                  uintptr_t flags);
DISPATCH_EXPORT dispatch_queue_attr_t dispatch_queue_attr_make_with_qos_class(
    dispatch_queue_attr_t _Nullable attr, dispatch_qos_class_t qosClass, int relativePriority);
DISPATCH_EXPORT dispatch_queue_t dispatch_queue_create(
    const char* _Nullable label, dispatch_queue_attr_t _Nullable attr) DISPATCH_RETURNS_RETAINED;
DISPATCH_EXPORT const char* dispatch_queue_get_label(dispatch_queue_t _Nullable queue);

DISPATCH_EXPORT void dispatch_queue_set_specific(dispatch_queue_t queue, const void* key,
                                                 void* _Nullable context,
                                                 dispatch_function_t _Nullable destructor);
DISPATCH_EXPORT void* _Nullable dispatch_get_specific(const void* key);

// ---- tasks ----

DISPATCH_EXPORT void dispatch_async(dispatch_queue_t queue, dispatch_block_t block);

// ---- sources ----

typedef const struct dispatch_source_type_s* dispatch_source_type_t;
DISPATCH_EXPORT const struct dispatch_source_type_s _dispatch_source_type_timer;
#define DISPATCH_SOURCE_TYPE_TIMER (&_dispatch_source_type_timer)

DISPATCH_EXPORT dispatch_source_t
dispatch_source_create(dispatch_source_type_t type, uintptr_t handle, uintptr_t mask,
                       dispatch_queue_t _Nullable queue) DISPATCH_RETURNS_RETAINED;
DISPATCH_EXPORT void dispatch_source_set_timer(dispatch_source_t source, dispatch_time_t start,
                                               uint64_t interval, uint64_t leeway);
DISPATCH_EXPORT void dispatch_source_set_event_handler(dispatch_source_t source,
                                                       dispatch_block_t _Nullable handler);
DISPATCH_EXPORT void dispatch_source_cancel(dispatch_source_t source);

// Sources only.
DISPATCH_EXPORT void dispatch_resume(dispatch_object_t object);

#pragma clang assume_nonnull end
