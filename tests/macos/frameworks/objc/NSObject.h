#pragma once

#include <objc/NSObjCRuntime.h>

@class NSString, NSMethodSignature;
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
@property(readonly) Class superclass;
- (Class)class;
- (instancetype)self;

- (id)performSelector:(SEL)selector;
- (id)performSelector:(SEL)selector withObject:(nullable id)object;
- (id)performSelector:(SEL)selector withObject:(nullable id)object1 withObject:(nullable id)object2;

- (BOOL)isKindOfClass:(Class)aClass;
- (BOOL)isMemberOfClass:(Class)aClass;
- (BOOL)conformsToProtocol:(Protocol*)protocol;
- (BOOL)respondsToSelector:(SEL)selector;

- (instancetype)retain QUORVIN_ARC_UNAVAILABLE;
- (oneway void)release QUORVIN_ARC_UNAVAILABLE;
- (instancetype)autorelease QUORVIN_ARC_UNAVAILABLE;
- (NSUInteger)retainCount QUORVIN_ARC_UNAVAILABLE;

@property(readonly, copy) NSString* description;

@optional
@property(readonly, copy) NSString* debugDescription;

@end

__attribute__((objc_root_class))
@interface NSObject<NSObject> {
  Class isa __attribute__((unavailable));
}

- (instancetype)init __attribute__((objc_designated_initializer));
+ (instancetype)new;
+ (instancetype)alloc;
+ (instancetype)allocWithZone:(nullable NSZone*)zone;
- (void)dealloc;
- (id)copy;
- (id)mutableCopy;

+ (BOOL)instancesRespondToSelector:(SEL)selector;
+ (BOOL)conformsToProtocol:(Protocol*)protocol;
- (void)doesNotRecognizeSelector:(SEL)selector;

+ (BOOL)isSubclassOfClass:(Class)aClass;
+ (NSUInteger)hash;
+ (Class)superclass;
+ (Class)class;
+ (NSString*)description;

@end

#undef QUORVIN_ARC_UNAVAILABLE

#pragma clang assume_nonnull end
