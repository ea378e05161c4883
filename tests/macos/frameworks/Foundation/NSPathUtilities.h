#pragma once

#import <Foundation/NSObjCRuntime.h>

NS_ASSUME_NONNULL_BEGIN

typedef NS_ENUM(NSUInteger, NSSearchPathDirectory) { NSDesktopDirectory = 12 };

typedef NS_OPTIONS(NSUInteger, NSSearchPathDomainMask) { NSUserDomainMask = 1 };

FOUNDATION_EXPORT NSString* NSHomeDirectory(void);

NS_ASSUME_NONNULL_END
