#pragma once

#import <Foundation/NSObject.h>

NS_ASSUME_NONNULL_BEGIN

// The main queue only.
@interface NSOperationQueue : NSObject

@property(class, readonly, strong) NSOperationQueue* mainQueue;

- (void)addOperationWithBlock:(void (^)(void))block;

@end

NS_ASSUME_NONNULL_END
