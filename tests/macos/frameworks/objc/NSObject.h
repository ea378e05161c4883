#pragma once

#include <objc/NSObjCRuntime.h>

typedef struct _NSZone NSZone;

#pragma clang assume_nonnull begin

#if __has_feature(objc_arc)
#define QUORVIN_ARC_UNAVAILABLE __attribute__((unavailable("ARC counts references itself")))
#else
#define QUORVIN_ARC_UNAVAILABLE
#endif

@protocol NSObject

- (BOOL)isEqual:(nullable id)object;
@property(readonly) NSUInteger hash;
- (Class)class;
- (instancetype)self;

- (id)performSelector:(SEL)selector withObject:(nullable id)object;

- (BOOL)isKindOfClass:(Class)aClass;
- (BOOL)respondsToSelector:(SEL)selector;

- (instancetype)retain QUORVIN_ARC_UNAVAILABLE;
- (oneway void)release QUORVIN_ARC_UNAVAILABLE;
- (instancetype)autorelease QUORVIN_ARC_UNAVAILABLE;

@end

__attribute__((objc_root_class))
@interface NSObject<NSObject> {
  Class isa __attribute__((unavailable));
}

- (instancetype)init __attribute__((objc_designated_initializer));
+ (instancetype)new;
+ (instancetype)alloc;
- (void)dealloc;
- (id)copy;

+ (BOOL)instancesRespondToSelector:(SEL)selector;
- (void)doesNotRecognizeSelector:(SEL)selector;

+ (BOOL)isSubclassOfClass:(Class)aClass;
+ (Class)class;

@end

#undef QUORVIN_ARC_UNAVAILABLE

#pragma clang assume_nonnull end
