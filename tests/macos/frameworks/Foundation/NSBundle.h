#pragma once

#import <Foundation/NSObject.h>

NS_ASSUME_NONNULL_BEGIN

@class NSString, NSURL;

@interface NSBundle : NSObject

@property(class, readonly, strong) NSBundle* mainBundle;

@property(readonly, copy) NSURL* bundleURL;
@property(nullable, readonly, copy) NSURL* executableURL;
@property(readonly, copy) NSString* bundlePath;
@property(nullable, readonly, copy) NSString* executablePath;

@end

NS_ASSUME_NONNULL_END
