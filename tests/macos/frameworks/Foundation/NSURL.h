#pragma once

#import <Foundation/NSObject.h>

NS_ASSUME_NONNULL_BEGIN

@class NSString;

// File URLs only; whether one leads to a folder makes no difference.
@interface NSURL : NSObject <NSCopying>

+ (NSURL*)fileURLWithPath:(NSString*)path isDirectory:(BOOL)isDir;
+ (NSURL*)fileURLWithPath:(NSString*)path;

@property(nullable, readonly, copy) NSString* path;

@end

@interface NSURL (NSURLPathUtilities)

@property(nullable, readonly, copy) NSURL* URLByStandardizingPath;

@end

NS_ASSUME_NONNULL_END
