#pragma once

#import <Foundation/NSObject.h>

NS_ASSUME_NONNULL_BEGIN

@interface NSThread : NSObject

@property(class, readonly) BOOL isMainThread;
@property(readonly) BOOL isMainThread;
@property(class, readonly, strong) NSThread* currentThread;
@property(class, readonly, strong) NSThread* mainThread;

@end

NS_ASSUME_NONNULL_END
