#pragma once

#import <Foundation/NSObject.h>

NS_ASSUME_NONNULL_BEGIN

@class NSOperationQueue, NSString;

typedef NSString* NSNotificationName NS_TYPED_EXTENSIBLE_ENUM;

@interface NSNotification : NSObject

@property(readonly, copy) NSNotificationName name;
@property(nullable, readonly, strong) id object;

@end

@interface NSNotification (NSNotificationCreation)

+ (instancetype)notificationWithName:(NSNotificationName)aName object:(nullable id)anObject;

@end

// Any thread.
@interface NSNotificationCenter : NSObject

@property(class, readonly, strong) NSNotificationCenter* defaultCenter;

- (void)postNotification:(NSNotification*)notification;
- (void)postNotificationName:(NSNotificationName)aName object:(nullable id)anObject;
- (void)removeObserver:(id)observer;
- (id<NSObject>)addObserverForName:(nullable NSNotificationName)name
                            object:(nullable id)obj
                             queue:(nullable NSOperationQueue*)queue
                        usingBlock:(void (^)(NSNotification* notification))block;

@end

NS_ASSUME_NONNULL_END
