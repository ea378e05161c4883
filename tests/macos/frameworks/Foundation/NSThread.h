#pragma once

#import <Foundation/NSObject.h>

NS_ASSUME_NONNULL_BEGIN

@interface NSThread : NSObject

@property(class, readonly) BOOL isMainThread;

@end

NS_ASSUME_NONNULL_END
