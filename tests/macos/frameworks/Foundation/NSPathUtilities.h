#pragma once

#import <Foundation/NSObjCRuntime.h>

NS_ASSUME_NONNULL_BEGIN

typedef NS_ENUM(NSUInteger, NSSearchPathDirectory) {
  NSApplicationDirectory = 1,
  NSLibraryDirectory = 5,
  NSDocumentDirectory = 9,
  NSDesktopDirectory = 12,
  NSCachesDirectory = 13,
  NSApplicationSupportDirectory = 14,
};

typedef NS_OPTIONS(NSUInteger, NSSearchPathDomainMask) {
  NSUserDomainMask = 1,
  NSLocalDomainMask = 2,
  NSAllDomainsMask = 0x0ffff,
};

FOUNDATION_EXPORT NSString* NSHomeDirectory(void);
FOUNDATION_EXPORT NSString* NSTemporaryDirectory(void);

NS_ASSUME_NONNULL_END
